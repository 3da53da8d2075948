# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# Runs the races for the tables in fresh processes.
foreach(attempt RANGE 1 60)
  set(name AThreadThatSeesTheFlagSeesTheTables)
  math(EXPR other "${attempt} % 4")
  if(other EQUAL 0)
    set(name PrepareWhileOthersConvert)
  endif()
  execute_process(COMMAND ${EMULATOR} ${PROGRAM} --gtest_filter=Threads.${name}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0 OR NOT output MATCHES "PASSED  \\] 1 test")
    message(FATAL_ERROR "attempt ${attempt}: ${output}")
  endif()
endforeach()
