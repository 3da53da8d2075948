# SPDX-License-Identifier: Apache-2.0
# The folders that an installation makes, and the target uninstall, which takes them away again. Included in front of
# whatever installs something: installation follows the order of the commands.

# kivo_note_folders(<folder>...): before something is installed there, notes which folders are not there yet. The target
# uninstall removes those alone, with what it finds empty in them.
function(kivo_note_folders)
  list(JOIN ARGN "\" \"" folders)
  install(CODE "
  foreach(folder \"${folders}\")
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\" NORMALIZE)
    while(NOT EXISTS \"\$ENV{DESTDIR}\${folder}\")
      file(APPEND \"${PROJECT_BINARY_DIR}/install_folders.txt\" \"\${folder}\\n\")
      cmake_path(GET folder PARENT_PATH folder)
    endwhile()
  endforeach()" ALL_COMPONENTS)
endfunction()
kivo_note_folders(
  ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_INCLUDEDIR}/kivo ${CMAKE_INSTALL_INCLUDEDIR}/kivocamutl
  ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_LIBDIR}/cmake/KivoCamUtl
  ${CMAKE_INSTALL_MANDIR}/man1 ${CMAKE_INSTALL_DOCDIR}
  ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
  ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -DBUILD=${PROJECT_BINARY_DIR}
    -P ${PROJECT_SOURCE_DIR}/cmake/KivoUninstall.cmake VERBATIM)
endif()
