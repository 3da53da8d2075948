# SPDX-License-Identifier: Apache-2.0
# Properties that every target of the project shares.

# The strict set is clean with g++ 12 and clang 14; CAMUTL_STRICT makes it binding.
function(kivo_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wcast-qual -Wconversion -Wsign-conversion -Wformat=2 -Wundef
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>)
  if(CAMUTL_STRICT)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# For the objects of the library itself: C++20, everything hidden that the public header does not export.
function(kivo_library_properties target)
  kivo_warnings(${target})
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  target_compile_definitions(${target} PRIVATE CAMUTL_BUILDING_LIBRARY)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
endfunction()

# For what users link: the one public include directory, in the tree or installed.
function(kivo_interface_properties target)
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()
