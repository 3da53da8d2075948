# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# Runs the race for the tables in fresh processes.
foreach(attempt RANGE 1 60)
  execute_process(COMMAND ${EMULATOR} ${PROGRAM} --gtest_filter=Threads.AThreadThatSeesTheFlagSeesTheTables
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0 OR NOT output MATCHES "PASSED  \\] 1 test")
    message(FATAL_ERROR "attempt ${attempt}: ${output}")
  endif()
endforeach()
