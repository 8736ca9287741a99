# The manual page and the completion for bash, which the program makes itself and which are installed with it.

if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  return()
endif()
set(manual ${PROJECT_BINARY_DIR}/share/man/man1/slicedata.1)
set(completion ${PROJECT_BINARY_DIR}/share/bash-completion/completions/slicedata)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share/man/man1 ${PROJECT_BINARY_DIR}/share/bash-completion/completions)
add_custom_command(TARGET slicedata POST_BUILD
  COMMAND slicedata --generate man > ${manual}
  COMMAND slicedata --generate bash > ${completion}
  VERBATIM)
install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
