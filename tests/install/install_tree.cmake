# SPDX-License-Identifier: Apache-2.0
cmake_minimum_required(VERSION 3.21)
# Installs the build tree into a fresh prefix.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} RESULT_VARIABLE result
  OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "install failed: ${output}")
endif()
set(libraries)
string(REPLACE "," ";" LIBRARIES "${LIBRARIES}")
string(REPLACE "," ";" MODULES "${MODULES}")
foreach(library IN LISTS LIBRARIES)
  list(APPEND libraries include/${library}.h ${LIBDIR}/lib${library}.so ${LIBDIR}/lib${library}.so.${MAJOR})
endforeach()
list(TRANSFORM MODULES REPLACE "(.+)" "${LIBDIR}/pkgconfig/\\1.pc")
foreach(file ${libraries} include/KivoCamUtl.hpp include/kivo/convert.hpp include/kivo/frame.hpp
             ${LIBDIR}/cmake/KivoCamUtl/KivoCamUtlConfig.cmake ${MODULES}
             ${DOCDIR}/LICENSE ${DOCDIR}/README.md ${DOCDIR}/docs/formats.md)
  if(NOT EXISTS ${PREFIX}/${file})
    message(SEND_ERROR "not installed: ${file}")
  endif()
endforeach()
# The installed tree may be moved: it names neither its prefix nor the build tree.
foreach(file ${LIBDIR}/cmake/KivoCamUtl/KivoCamUtlConfig.cmake ${LIBDIR}/cmake/KivoCamUtl/KivoCamUtlTargets.cmake
             ${MODULES})
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

# The tool finds the library beside it, and so does the Python package.
set(ENV{LD_LIBRARY_PATH})
if(SKIP_RPATH)
  # As in a distribution's package, which the system's search finds.
  set(ENV{LD_LIBRARY_PATH} ${PREFIX}-moved/${LIBDIR})
endif()
if(EXISTS ${PREFIX}/bin/kivocam AND NOT EMULATOR)
  foreach(file share/man/man1/kivocam.1 share/man/man1/kivocam-convert.1 share/bash-completion/completions/kivocam
               share/zsh/site-functions/_kivocam share/fish/vendor_completions.d/kivocam.fish)
    if(NOT EXISTS ${PREFIX}/${file})
      message(SEND_ERROR "not installed: ${file}")
    endif()
  endforeach()
  file(REMOVE_RECURSE ${PREFIX}-moved)
  file(COPY ${PREFIX}/ DESTINATION ${PREFIX}-moved)
  execute_process(COMMAND ${PREFIX}-moved/bin/kivocam formats --json RESULT_VARIABLE result OUTPUT_QUIET)
  if(NOT result EQUAL 0)
    message(SEND_ERROR "the installed kivocam does not run")
  endif()
  file(GLOB package ${PREFIX}-moved/lib/python3*/*-packages)
  execute_process(COMMAND ${PYTHON} -c "import numpy" RESULT_VARIABLE noNumpy OUTPUT_QUIET ERROR_QUIET)
  if(package AND noNumpy EQUAL 0 AND NOT FLAGS MATCHES "-fsanitize")
    execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${package} ${PYTHON} -B -c
      "import numpy, kivocamutl; print(kivocamutl.convert(numpy.full((2, 2), 7, 'u1'), 'Mono8')[1, 1].tolist())"
      RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT output STREQUAL "[7, 7, 7, 255]")
      message(SEND_ERROR "the installed Python package does not convert: ${output}${error}")
    endif()
  endif()
  file(REMOVE_RECURSE ${PREFIX}-moved)
endif()
