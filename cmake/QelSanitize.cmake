# Sanitizers go into every target of a build, libraries and tests alike, or their reports are wrong.

if(QEL_SANITIZE STREQUAL "address")
    set(qel_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
elseif(QEL_SANITIZE STREQUAL "thread")
    set(qel_sanitizers -fsanitize=thread)
elseif(NOT QEL_SANITIZE STREQUAL "")
    message(FATAL_ERROR "QEL_SANITIZE is \"${QEL_SANITIZE}\"; it may be empty, address or thread")
endif()

if(QEL_SANITIZE)
    add_compile_options(${qel_sanitizers} -fno-omit-frame-pointer)
    add_link_options(${qel_sanitizers})
endif()

if(QEL_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "QEL_BUILD_FUZZERS needs clang++, the compiler is "
            "${CMAKE_CXX_COMPILER_ID}")
    endif()
    # The libraries report their coverage; only the fuzzers link the driver.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
