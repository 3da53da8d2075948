# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# The Python package is installed when it is asked for, with what tools know it by. No Python, or one that does not run
# any more, keeps nothing else from being installed.

# installed(<name> <option>...): what the components that need no compiler put into a fresh prefix, in `files`.
function(installed name)
  file(REMOVE_RECURSE ${WORK}/${name})
  set(build ${WORK}/${name}/build)
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${PROJECT} -B ${build} -DCMAKE_CXX_COMPILER=${CXX}
      -DCAMUTL_BUILD_TOOLS=OFF -DCAMUTL_TARGETS=Baseline ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${name}: ${output}")
  endif()
  if(name STREQUAL "broken")
    file(REMOVE ${WORK}/interpreter)
  endif()
  foreach(component python documentation)
    execute_process(COMMAND ${CMAKE_COMMAND} --install ${build} --prefix ${WORK}/${name}/prefix --component ${component}
      RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "${name}: ${component} is not installed: ${output}")
    endif()
  endforeach()
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${WORK}/${name}/prefix ${WORK}/${name}/prefix/*)
  set(files "${files}" PARENT_SCOPE)
endfunction()

# expect(<name> <what is meant> <regex> <yes or no>)
function(expect name what regex wanted)
  set(found "${files}")
  list(FILTER found INCLUDE REGEX "${regex}")
  if((found AND NOT wanted) OR (wanted AND NOT found))
    message(SEND_ERROR "${name}: ${what}: '${found}', expected: ${wanted}")
  endif()
endfunction()

set(package "^lib/python3[^/]*/[a-z]+-packages/")
set(bill "share/doc/.*/KivoCamUtl\\.spdx\\.json$")

installed(by_default -DCAMUTL_PYTHON=${PYTHON})
expect(by_default "anything for Python" "${package}" NO)
expect(by_default "the manual" "share/doc/.*/README\\.md$" YES)

installed(no_interpreter -DCAMUTL_PYTHON=${WORK}/none -DCAMUTL_INSTALL_PYTHON=ON)
expect(no_interpreter "anything for Python" "${package}" NO)
expect(no_interpreter "the manual" "share/doc/.*/README\\.md$" YES)
expect(no_interpreter "the bill of materials" "${bill}" NO)

if(NOT EXISTS ${PYTHON})
  return()
endif()
file(MAKE_DIRECTORY ${WORK})
file(REMOVE ${WORK}/interpreter)
file(CREATE_LINK ${PYTHON} ${WORK}/interpreter SYMBOLIC)
installed(broken -DCAMUTL_PYTHON=${WORK}/interpreter)
expect(broken "the manual" "share/doc/.*/README\\.md$" YES)
expect(broken "the bill of materials" "${bill}" NO)

installed(asked_for -DCAMUTL_PYTHON=${PYTHON} -DCAMUTL_INSTALL_PYTHON=ON)
expect(asked_for "the package" "${package}kivocamutl/__init__\\.py$" YES)
expect(asked_for "the bill of materials" "${bill}" YES)
file(GLOB folder ${WORK}/asked_for/prefix/lib/python3*/*-packages)
execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${folder}
    ${PYTHON} -B ${CMAKE_CURRENT_LIST_DIR}/python_metadata.py ${PROJECT}/python/pyproject.toml ${VERSION}
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(SEND_ERROR "what is installed says of itself: ${output}")
endif()
