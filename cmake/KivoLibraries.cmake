# SPDX-License-Identifier: Apache-2.0
# The libraries that are installed: what all of them have in common, and their list for what installs and checks them.
set(KIVO_LIBRARIES)

# kivo_library(<name> MAP <version script> MODULE <name for pkg-config> DESCRIPTION <text> OBJECTS <object>...)
#
# The shared library lib<name>.so of the project's version, which exports what the version script lists, as target
# KivoCamUtl::<name>; the static one too with CAMUTL_BUILD_STATIC. Installed, and held against
# tests/abi/lib<name>.exports.txt, tests/abi/lib<name>.<machine>.abi and debian/lib<name><major>.symbols.
function(kivo_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "MAP;MODULE;DESCRIPTION" "OBJECTS")
  set(map ${PROJECT_SOURCE_DIR}/${arg_MAP})
  add_library(${name} SHARED ${arg_OBJECTS})
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${map}
    KIVO_MAP ${map}
    KIVO_MODULE ${arg_MODULE}
    KIVO_DESCRIPTION "${arg_DESCRIPTION}")
  target_link_options(${name} PRIVATE LINKER:--version-script=${map})
  # clang puts the run-time library of its sanitizers into programs alone.
  if(NOT (CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize"))
    target_link_options(${name} PRIVATE LINKER:--no-undefined)
  endif()
  kivo_interface_properties(${name})
  add_library(KivoCamUtl::${name} ALIAS ${name})
  if(CAMUTL_BUILD_STATIC)
    add_library(${name}_static STATIC ${arg_OBJECTS})
    set_target_properties(${name}_static PROPERTIES OUTPUT_NAME ${name} EXPORT_NAME ${name}Static)
    kivo_interface_properties(${name}_static)
    add_library(KivoCamUtl::${name}Static ALIAS ${name}_static)
  endif()
  list(APPEND KIVO_LIBRARIES ${name})
  set(KIVO_LIBRARIES ${KIVO_LIBRARIES} PARENT_SCOPE)
endfunction()

# kivo_objects(<variable> <object library>...): the objects of all of them.
function(kivo_objects variable)
  list(TRANSFORM ARGN REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")
  set(${variable} ${ARGN} PARENT_SCOPE)
endfunction()

# kivo_internal_library(<name> <object>...): a static library that is not installed and hides nothing.
function(kivo_internal_library name)
  add_library(${name} STATIC EXCLUDE_FROM_ALL ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_compile_definitions(${name} PUBLIC ${KIVO_TARGET_DEFINITIONS})
  kivo_interface_properties(${name})
endfunction()
