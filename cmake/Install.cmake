# Installation: the library with its symlinks, the headers, a pkg-config
# file and a CMake package.
include(CMakePackageConfigHelpers)

install(TARGETS tarvolk_r
        EXPORT tarvolk_rTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# libtvkcrypt.so.1 beside it (found through libtarvolk_r's RUNPATH $ORIGIN),
# without a link-time name or header: nothing links it but libtarvolk_r.
install(TARGETS tvkcrypt
        EXPORT tarvolk_rTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tarvolk
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

# The pkg-config file finds the prefix relative to itself, so that any
# --prefix given to cmake --install works.
file(RELATIVE_PATH TVK_PC_TO_PREFIX
     /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/tarvolk_r.pc.in
               ${PROJECT_BINARY_DIR}/tarvolk_r.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tarvolk_r.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(TVK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tarvolk_r)
install(EXPORT tarvolk_rTargets
        NAMESPACE tarvolk::
        DESTINATION ${TVK_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tarvolk_rConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/tarvolk_rConfig.cmake
                              INSTALL_DESTINATION ${TVK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tarvolk_rConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION}
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tarvolk_rConfig.cmake
              ${PROJECT_BINARY_DIR}/tarvolk_rConfigVersion.cmake
        DESTINATION ${TVK_CMAKE_DIR})
