# Performance-critical inner loops are compiled twice: for the baseline, and for x86-64-v3 (AVX2,
# FMA). The library picks the set that the processor can run when it is loaded.

include(CheckCXXSourceCompiles)

set(CMAKE_REQUIRED_FLAGS "-march=x86-64-v3")
check_cxx_source_compiles("
#if !defined(__x86_64__) || !defined(__AVX2__)
#error another processor
#endif
int main() {}" QEL_HAVE_X86_64_V3)
unset(CMAKE_REQUIRED_FLAGS)

# One set of the kernels: `source` with QEL_KERNEL_SET defined as `set`, compiled as a part of
# `target` with the options that follow.
function(qel_kernel_set target source set)
    get_filename_component(stem ${source} NAME_WE)
    set(kernels ${stem}_${set})
    add_library(${kernels} OBJECT ${source})
    qel_settings(${kernels})
    # Pixels need no traps and no errno, which would keep loops from being vectorised; results stay
    # those of IEEE arithmetic in the order written. Fused multiply-add would round differently from
    # the baseline, so it stays off.
    target_compile_options(${kernels} PRIVATE
        $<$<NOT:$<CONFIG:Debug>>:-O3> -fno-trapping-math -fno-math-errno -ffp-contract=off ${ARGN})
    target_compile_definitions(${kernels} PRIVATE
        QEL_KERNEL_SET=${set} $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
    target_include_directories(${kernels} PRIVATE
        $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${kernels}>)
endfunction()

# qel_kernels(TARGET FILE): adds the kernels in FILE to a library, in every set that the compiler
# can make. QEL_KERNELS_V3 is 1 for the whole library where there is a second set.
#
# FILE must keep everything in a namespace named by QEL_KERNEL_SET, and instantiate no inline
# function or template of other headers that could end up out of line: the linker keeps one copy of
# each, and that may be the one that only newer processors can run. The test KernelSets.ShareNoCode
# looks for such copies.
function(qel_kernels target source)
    qel_kernel_set(${target} ${source} baseline)
    get_filename_component(stem ${source} NAME_WE)
    if(QEL_HAVE_X86_64_V3)
        qel_kernel_set(${target} ${source} v3 -march=x86-64-v3)
        target_compile_definitions(${target} PRIVATE QEL_KERNELS_V3=1)
        set_property(GLOBAL APPEND PROPERTY QEL_KERNEL_OBJECTS $<TARGET_OBJECTS:${stem}_v3>)
    endif()
endfunction()
