# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# Builds and runs a project that finds the installed tree, moved elsewhere first.
separate_arguments(EMULATOR UNIX_COMMAND "${EMULATOR}")
file(REMOVE_RECURSE ${WORK})
file(COPY ${PREFIX}/ DESTINATION ${WORK}/moved)
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
  endif()
endfunction()
set(toolchain)
if(TOOLCHAIN)
  set(toolchain -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
endif()
run(${CMAKE_COMMAND} -S ${SOURCE}/consumer -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/moved
  -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_C_FLAGS=${FLAGS}" "-DCMAKE_CXX_FLAGS=${FLAGS}"
  -DSOURCES=${SOURCE}/../abi ${toolchain})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${EMULATOR} ${WORK}/build/consumer ${WORK})
run(${EMULATOR} ${WORK}/build/consumer_cpp)
run(${EMULATOR} ${WORK}/build/frame_consumer)
run(${EMULATOR} ${WORK}/build/frame_consumer_cpp)
