# What is installed: libraries, public headers, and the files by which CMake and pkg-config find
# them. All of them find each other by relative paths, so that an installed tree can move.

include(CMakePackageConfigHelpers)

set(qel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Qel)
set(qel_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# qel_install(TARGETS...): call it once, after the layers have listed their headers.
function(qel_install)
    install(TARGETS ${ARGN} EXPORT QelTargets
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qel
        # Before CMake 3.23, file sets are not exported to users.
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qel)
    install(EXPORT QelTargets NAMESPACE Qel:: DESTINATION ${qel_package_dir})

    configure_package_config_file(${Qel_SOURCE_DIR}/cmake/QelConfig.cmake.in
        ${Qel_BINARY_DIR}/generated/QelConfig.cmake
        INSTALL_DESTINATION ${qel_package_dir}
        NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${Qel_BINARY_DIR}/generated/QelConfigVersion.cmake
        COMPATIBILITY SameMinorVersion)
    install(FILES
        ${Qel_BINARY_DIR}/generated/QelConfig.cmake
        ${Qel_BINARY_DIR}/generated/QelConfigVersion.cmake
        DESTINATION ${qel_package_dir})

    file(RELATIVE_PATH qel_prefix_from_pc /${qel_pkgconfig_dir} /)
    foreach(target IN LISTS ARGN)
        configure_file(${Qel_SOURCE_DIR}/cmake/${target}.pc.in
            ${Qel_BINARY_DIR}/generated/${target}.pc @ONLY)
        install(FILES ${Qel_BINARY_DIR}/generated/${target}.pc DESTINATION ${qel_pkgconfig_dir})
    endforeach()
endfunction()
