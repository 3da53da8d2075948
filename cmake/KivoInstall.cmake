# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where, by component: runtime, development, tool, python, documentation.
include(CMakePackageConfigHelpers)

option(CAMUTL_INSTALL_PYTHON "Also install the Python package (needs a Python 3 interpreter)" OFF)

set(kivoInstalled ${KIVO_LIBRARIES})
if(CAMUTL_BUILD_STATIC)
  list(TRANSFORM KIVO_LIBRARIES APPEND _static OUTPUT_VARIABLE kivoStatic)
  list(APPEND kivoInstalled ${kivoStatic})
endif()
install(TARGETS ${kivoInstalled} EXPORT KivoCamUtlTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

set(kivoPackageDir ${CMAKE_INSTALL_LIBDIR}/cmake/KivoCamUtl)
install(EXPORT KivoCamUtlTargets NAMESPACE KivoCamUtl:: DESTINATION ${kivoPackageDir} COMPONENT development)
configure_package_config_file(packaging/KivoCamUtlConfig.cmake.in KivoCamUtlConfig.cmake
  INSTALL_DESTINATION ${kivoPackageDir})
write_basic_package_version_file(KivoCamUtlConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KivoCamUtlConfig.cmake ${PROJECT_BINARY_DIR}/KivoCamUtlConfigVersion.cmake
  DESTINATION ${kivoPackageDir} COMPONENT development)

# ${pcfiledir} keeps the installed tree relocatable.
file(RELATIVE_PATH kivoPcToPrefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(library IN LISTS KIVO_LIBRARIES)
  get_target_property(kivoModule ${library} KIVO_MODULE)
  get_target_property(kivoDescription ${library} KIVO_DESCRIPTION)
  configure_file(packaging/library.pc.in ${kivoModule}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${kivoModule}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endforeach()

# The Python package goes where the interpreter looks below the prefix, such as lib/python3.11/dist-packages. Without an
# interpreter the rest is installed all the same.
if(CAMUTL_INSTALL_PYTHON AND NOT DEFINED CACHE{CAMUTL_PYTHON_DIR})
  execute_process(
    COMMAND ${CAMUTL_PYTHON} -c "import sysconfig; print(sysconfig.get_path('purelib', vars={'base': ''}))"
    RESULT_VARIABLE failed OUTPUT_VARIABLE purelib OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(failed EQUAL 0)
    string(REGEX REPLACE "^/(local/)?" "" purelib "${purelib}")
    set(CAMUTL_PYTHON_DIR ${purelib} CACHE STRING "Where the Python package is installed, below the prefix")
  else()
    message(WARNING "${CAMUTL_PYTHON} not found: the Python package is not installed (Debian: python3 python3-numpy)")
  endif()
endif()
if(CAMUTL_INSTALL_PYTHON AND CAMUTL_PYTHON_DIR)
  kivo_note_folders(${CAMUTL_PYTHON_DIR}/kivocamutl ${CAMUTL_PYTHON_DIR}/kivocamutl-${PROJECT_VERSION}.dist-info)
  install(DIRECTORY python/kivocamutl DESTINATION ${CAMUTL_PYTHON_DIR} COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed")
  # By which tools and importlib.metadata know the package and its version.
  configure_file(packaging/METADATA.in METADATA @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/METADATA
    DESTINATION ${CAMUTL_PYTHON_DIR}/kivocamutl-${PROJECT_VERSION}.dist-info COMPONENT python)
endif()

# As in the source tree, so that the pages find each other.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation)
install(FILES python/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/python COMPONENT documentation)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT documentation
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg")

# The reference of the headers, where Doxygen is there: cmake --build BUILD --target reference
find_program(DOXYGEN_EXECUTABLE doxygen)
mark_as_advanced(DOXYGEN_EXECUTABLE)
if(DOXYGEN_EXECUTABLE)
  set(kivoReference ${PROJECT_BINARY_DIR}/reference)
  file(WRITE ${PROJECT_BINARY_DIR}/Doxyfile
    "@INCLUDE = ${PROJECT_SOURCE_DIR}/docs/Doxyfile\nOUTPUT_DIRECTORY = ${kivoReference}\n")
  add_custom_target(reference
    COMMAND ${CMAKE_COMMAND} -E make_directory ${kivoReference}
    COMMAND ${DOXYGEN_EXECUTABLE} ${PROJECT_BINARY_DIR}/Doxyfile
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
  install(DIRECTORY ${kivoReference}/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation OPTIONAL)
endif()

# The bill of materials, of the state that is installed; left out where Python does not run.
execute_process(COMMAND ${CAMUTL_PYTHON} -c "" RESULT_VARIABLE failed OUTPUT_QUIET ERROR_QUIET)
if(failed EQUAL 0)
  set(kivoBom ${PROJECT_BINARY_DIR}/KivoCamUtl.spdx.json)
  install(CODE "file(REMOVE \"${kivoBom}\")
    execute_process(COMMAND \"${CAMUTL_PYTHON}\" -B
      \"${PROJECT_SOURCE_DIR}/packaging/bill_of_materials.py\" --source \"${PROJECT_SOURCE_DIR}\"
      --version ${PROJECT_VERSION} --output \"${kivoBom}\" RESULT_VARIABLE failed)
    if(NOT failed EQUAL 0)
      message(\"-- The bill of materials is left out: \${failed}\")
    endif()" COMPONENT documentation)
  install(FILES ${kivoBom} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation OPTIONAL)
endif()
