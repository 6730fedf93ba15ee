# What is installed, by component: runtime (the library and its modules), development (headers, CMake package and
# pkg-config file), tools (the vk command, its manual and its completion), documentation, java (with VKKRNX_JAVA) and
# python (with VKKRNX_PYTHON_DIR). Everything installed finds its neighbours by relative paths, so the tree may be moved.
# scripts/package.sh makes packages of the components.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vkkrnx)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS Vkkrnx EXPORT VkkrnxTargets
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
if(WIN32) # for other linkers
  install(FILES ${VKKRNX_IMPORT_LIBRARY} ${CMAKE_BINARY_DIR}/Vkkrnx.def DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT development)
endif()
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(EXPORT VkkrnxTargets NAMESPACE Vkkrnx:: DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/VkkrnxConfig.cmake.in ${CMAKE_BINARY_DIR}/VkkrnxConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VkkrnxConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VkkrnxConfig.cmake ${CMAKE_BINARY_DIR}/VkkrnxConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)

file(RELATIVE_PATH VKKRNX_PC_PREFIX /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" VKKRNX_PC_PREFIX "${VKKRNX_PC_PREFIX}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/vkkrnx.pc.in ${CMAKE_BINARY_DIR}/vkkrnx.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vkkrnx.pc DESTINATION ${pkgconfig_dir} COMPONENT development)

file(GLOB documents CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/*.md)
install(FILES ${CMAKE_SOURCE_DIR}/README.md ${CMAKE_SOURCE_DIR}/CHANGELOG.md ${CMAKE_SOURCE_DIR}/SECURITY.md ${documents}
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/guide DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)

if(TARGET vk)
  install(TARGETS vk RUNTIME COMPONENT tools)
endif()

# The manual and the completion are what the command says of itself, so it has to run here.
find_package(Python3 COMPONENTS Interpreter)
if(TARGET vk AND Python3_FOUND AND NOT CMAKE_CROSSCOMPILING AND NOT VKKRNX_SANITIZE)
  set(manual ${CMAKE_BINARY_DIR}/manual)
  add_custom_command(
    OUTPUT ${manual}/made
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/vk_manual.py --vk $<TARGET_FILE:vk> ${manual}
    COMMAND ${CMAKE_COMMAND} -E touch ${manual}/made
    DEPENDS vk ${CMAKE_SOURCE_DIR}/scripts/vk_manual.py
    COMMENT "Writing the manual of vk"
    VERBATIM)
  add_custom_target(vk_manual ALL DEPENDS ${manual}/made)
  install(DIRECTORY ${manual}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT tools)
  install(FILES ${manual}/completion/vk DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
endif()

set(VKKRNX_PYTHON_DIR "" CACHE STRING "Folder of the system's Python packages to install ours to; empty: pip does it")
if(VKKRNX_PYTHON_DIR)
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/python/vkkrnx DESTINATION ${VKKRNX_PYTHON_DIR} COMPONENT python
          FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
endif()
