# Headers, library, CMake package and pkg-config file. Everything installed finds its neighbours by relative paths, so
# the tree may be moved.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vkkrnx)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS Vkkrnx EXPORT VkkrnxTargets)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(EXPORT VkkrnxTargets NAMESPACE Vkkrnx:: DESTINATION ${package_dir})

configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/VkkrnxConfig.cmake.in ${CMAKE_BINARY_DIR}/VkkrnxConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VkkrnxConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VkkrnxConfig.cmake ${CMAKE_BINARY_DIR}/VkkrnxConfigVersion.cmake
        DESTINATION ${package_dir})

file(RELATIVE_PATH VKKRNX_PC_PREFIX /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" VKKRNX_PC_PREFIX "${VKKRNX_PC_PREFIX}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/vkkrnx.pc.in ${CMAKE_BINARY_DIR}/vkkrnx.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vkkrnx.pc DESTINATION ${pkgconfig_dir})
