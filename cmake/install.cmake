# cmake --install: libraries, headers, libqmv.pc, and a package for find_package(qmv).
include(CMakePackageConfigHelpers)

install(TARGETS qmv qmv_static EXPORT qmv
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qmv)
install(EXPORT qmv NAMESPACE qmv:: DESTINATION ${package_dir} FILE qmvTargets.cmake)
configure_package_config_file(cmake/qmvConfig.cmake.in ${PROJECT_BINARY_DIR}/qmvConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qmvConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qmvConfig.cmake ${PROJECT_BINARY_DIR}/qmvConfigVersion.cmake
        DESTINATION ${package_dir})

# The prefix is found from where the file lies, so that an installed tree can be moved, into the
# root of a device for example.
file(RELATIVE_PATH QMV_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" QMV_PC_TO_PREFIX "${QMV_PC_TO_PREFIX}")
configure_file(cmake/libqmv.pc.in ${PROJECT_BINARY_DIR}/libqmv.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/libqmv.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
