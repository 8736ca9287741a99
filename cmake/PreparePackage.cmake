# Run by cpack on the tree that it is about to pack.

# cpack itself would make a package without dependencies where it does not find these.
foreach(tool dpkg-shlibdeps file gzip)
  find_program(path_of_${tool} ${tool})
  if(NOT path_of_${tool})
    message(FATAL_ERROR "${tool} is missing; install it: apt-get install dpkg-dev file gzip")
  endif()
endforeach()

# Debian wants manual pages and lists of changes compressed.
set(tree ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
file(GLOB_RECURSE texts ${tree}/slicedata.1 ${tree}/changelog)
execute_process(COMMAND gzip --best --no-name ${texts} COMMAND_ERROR_IS_FATAL ANY)
