# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# Links the static library, a half in C and a half in C++ with an optimiser that sees all three at once: it must not
# find a function of two types. Then runs the program.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
  endif()
endfunction()
run(${CMAKE_COMMAND} -S ${PROJECT} -B ${WORK} "-GUnix Makefiles" -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_CXX_FLAGS=-flto
  -DCMAKE_BUILD_TYPE=Debug -DCAMUTL_BUILD_STATIC=ON -DCAMUTL_BUILD_TOOLS=OFF -DCAMUTL_INSTALL=OFF
  -DCAMUTL_TARGETS=Baseline -DCMAKE_AR=${AR} -DCMAKE_RANLIB=${RANLIB})
run(${CMAKE_COMMAND} --build ${WORK} --target KivoCamUtl_static)
set(flags -O2 -flto -Wall -Wextra -Werror -I${PROJECT}/include)
run(${CC} -std=c99 ${flags} -c ${SOURCE}/lto_caller.c -o ${WORK}/c.o)
run(${CXX} -std=c++17 ${flags} -c ${SOURCE}/lto_caller_cpp.cpp -o ${WORK}/cpp.o)
run(${CXX} -O2 -flto -Werror=lto-type-mismatch -Werror=odr ${WORK}/c.o ${WORK}/cpp.o ${WORK}/libKivoCamUtl.a -o ${WORK}/program)
run(${WORK}/program)
