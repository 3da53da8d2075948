# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where: libraries, headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(kivoInstalled KivoCamUtl)
if(CAMUTL_BUILD_STATIC)
  list(APPEND kivoInstalled KivoCamUtl_static)
endif()
install(TARGETS ${kivoInstalled} EXPORT KivoCamUtlTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

set(kivoPackageDir ${CMAKE_INSTALL_LIBDIR}/cmake/KivoCamUtl)
install(EXPORT KivoCamUtlTargets NAMESPACE KivoCamUtl:: DESTINATION ${kivoPackageDir})
configure_package_config_file(packaging/KivoCamUtlConfig.cmake.in KivoCamUtlConfig.cmake
  INSTALL_DESTINATION ${kivoPackageDir})
write_basic_package_version_file(KivoCamUtlConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KivoCamUtlConfig.cmake ${PROJECT_BINARY_DIR}/KivoCamUtlConfigVersion.cmake
  DESTINATION ${kivoPackageDir})

# ${pcfiledir} keeps the installed tree relocatable.
file(RELATIVE_PATH kivoPcToPrefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(packaging/KivoCamUtl.pc.in KivoCamUtl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/KivoCamUtl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
