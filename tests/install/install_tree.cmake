# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# Installs the build tree into a fresh prefix.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} RESULT_VARIABLE result
  OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "install failed: ${output}")
endif()
foreach(file include/KivoCamUtl.h ${LIBDIR}/libKivoCamUtl.so.1 ${LIBDIR}/libKivoCamUtl.so
             ${LIBDIR}/cmake/KivoCamUtl/KivoCamUtlConfig.cmake ${LIBDIR}/pkgconfig/KivoCamUtl.pc)
  if(NOT EXISTS ${PREFIX}/${file})
    message(SEND_ERROR "not installed: ${file}")
  endif()
endforeach()
# The installed tree may be moved: it names neither its prefix nor the build tree.
foreach(file ${LIBDIR}/cmake/KivoCamUtl/KivoCamUtlConfig.cmake ${LIBDIR}/cmake/KivoCamUtl/KivoCamUtlTargets.cmake
             ${LIBDIR}/pkgconfig/KivoCamUtl.pc)
  if(EXISTS ${PREFIX}/${file})
    file(READ ${PREFIX}/${file} text)
    foreach(path ${PREFIX} ${BUILD})
      string(FIND "${text}" "${path}" at)
      if(NOT at EQUAL -1)
        message(SEND_ERROR "${file} names ${path}")
      endif()
    endforeach()
  endif()
endforeach()
