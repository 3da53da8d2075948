# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# What is built when nobody says how: Release and a note of it; whatever is said is kept; a project that takes the
# library in decides for itself.
unset(ENV{CMAKE_BUILD_TYPE})
unset(ENV{CMAKE_CONFIGURATION_TYPES})
set(note "No CMAKE_BUILD_TYPE is given: building Release")

# configured(<name> <source> <option>...): the build type of a fresh build tree, and what was said, in `type` and `said`.
function(configured name source)
  file(REMOVE_RECURSE ${WORK}/${name})
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${source} -B ${WORK}/${name} -DCMAKE_CXX_COMPILER=${CXX}
      -DCAMUTL_BUILD_TOOLS=OFF -DCAMUTL_INSTALL=OFF -DCAMUTL_TARGETS=Baseline ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${name}: ${output}")
  endif()
  file(STRINGS ${WORK}/${name}/CMakeCache.txt line REGEX "^CMAKE_BUILD_TYPE:")
  string(REGEX REPLACE "^[^=]*=" "" type "${line}")
  file(READ ${WORK}/${name}/compile_commands.json commands)
  string(FIND "${output}" "${note}" at)
  set(type "${type}" PARENT_SCOPE)
  set(commands "${commands}" PARENT_SCOPE)
  if(at EQUAL -1)
    set(said no PARENT_SCOPE)
  else()
    set(said yes PARENT_SCOPE)
  endif()
endfunction()

function(expect name wantedType wantedSaid)
  if(NOT type STREQUAL wantedType OR NOT said STREQUAL wantedSaid)
    message(SEND_ERROR "${name}: type '${type}', note: ${said}; expected '${wantedType}', ${wantedSaid}")
  endif()
endfunction()

configured(nothing ${PROJECT} "-GUnix Makefiles")
expect(nothing Release yes)
if(NOT commands MATCHES " -O3 ")
  message(SEND_ERROR "a build without a type is not optimised")
endif()
configured(debug ${PROJECT} "-GUnix Makefiles" -DCMAKE_BUILD_TYPE=Debug)
expect(debug Debug no)
# The way of distributions whose flags are their own.
configured(none ${PROJECT} "-GUnix Makefiles" -DCMAKE_BUILD_TYPE=None)
expect(none None no)
find_program(ninja NAMES ninja ninja-build)
if(ninja)
  configured(many ${PROJECT} "-GNinja Multi-Config" -DCMAKE_MAKE_PROGRAM=${ninja})
  expect(many "" no)
endif()

file(WRITE ${WORK}/taking/CMakeLists.txt "cmake_minimum_required(VERSION 3.21)
project(taking LANGUAGES C CXX)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
add_subdirectory(${PROJECT} kivo)
")
configured(taken ${WORK}/taking "-GUnix Makefiles")
expect(taken "" no)
