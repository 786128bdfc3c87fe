# How every target of the project is compiled, and how the libraries are made.

# qel_settings(TARGET): the language, the visibility of symbols and the warnings.
function(qel_settings target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
        $<$<BOOL:${QEL_WERROR}>:-Werror>
        # Errors and debug information name sources relative to the project's root, wherever it was
        # built.
        -ffile-prefix-map=${Qel_SOURCE_DIR}/=)
endfunction()

# qel_precompile(TARGET [HEADER...]): standard headers, and these, parsed once for all sources of the
# target and of those that reuse them. They take longer than most sources have of their own. A source
# includes what it uses all the same. No header of ours belongs here, since each change of one would
# compile everything again, nor <iostream>, which puts a static object into each source.
function(qel_precompile target)
    target_precompile_headers(${target} PRIVATE
        <algorithm> <array> <atomic> <cerrno> <cmath> <cstddef> <cstdint> <cstdlib> <cstring>
        <functional> <limits> <map> <memory> <mutex> <new> <optional> <ostream> <sstream> <stdexcept>
        <string> <string_view> <thread> <type_traits> <utility> <vector> ${ARGN})
    # The same headers give the same file, so that ccache finds what was compiled with it.
    target_compile_options(${target} PRIVATE
        $<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>)
endfunction()

# qel_library(TARGET NAME): the shared library libTARGET.so, known to its users as Qel::NAME. Its
# layers are added by qel_layer.
function(qel_library target name)
    add_library(${target} SHARED)
    add_library(Qel::${name} ALIAS ${target})
    qel_settings(${target})
    qel_precompile(${target})
    # Until 1.0.0 each minor version may break the binary interface, so it is part of the name.
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${Qel_VERSION}
        SOVERSION ${Qel_VERSION_MAJOR}.${Qel_VERSION_MINOR}
        INSTALL_RPATH $ORIGIN)
    if(NOT QEL_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()

# qel_layer(TARGET [HEADERS inc/...] [SOURCES src/...]): adds the layer in the current folder to a
# library. HEADERS are public and get installed; everything in src/ stays private.
function(qel_layer target)
    cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "HEADERS;SOURCES")
    if(layer_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "qel_layer: unknown ${layer_UNPARSED_ARGUMENTS}")
    endif()
    target_sources(${target}
        PRIVATE ${layer_SOURCES}
        PUBLIC FILE_SET HEADERS BASE_DIRS inc FILES ${layer_HEADERS})
    target_include_directories(${target} PRIVATE src)
endfunction()

# qel_subsystem(TARGET NAME [HEADERS inc/...] [SOURCES src/NAME/...]): a part of a layer that is
# large enough to have several. Its private headers are in src/NAME.
function(qel_subsystem target name)
    qel_layer(${target} ${ARGN})
    target_include_directories(${target} PRIVATE src/${name})
endfunction()
