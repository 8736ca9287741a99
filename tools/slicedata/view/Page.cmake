# Adds the page that shows layers to the program: its text is a source made of the files here. The program then writes
# the page without a document, which is installed with it.

set(page_source ${PROJECT_BINARY_DIR}/view/Page.cpp)
file(GLOB page_files CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.html ${CMAKE_CURRENT_LIST_DIR}/*.css
  ${CMAKE_CURRENT_LIST_DIR}/*.js)
add_custom_command(OUTPUT ${page_source}
  COMMAND ${CMAKE_COMMAND} -D OUTPUT=${page_source} -P ${CMAKE_CURRENT_LIST_DIR}/assemble.cmake
  DEPENDS ${page_files} ${CMAKE_CURRENT_LIST_DIR}/assemble.cmake
  VERBATIM)
target_sources(slicedata PRIVATE ${page_source})
target_include_directories(slicedata PRIVATE ${PROJECT_SOURCE_DIR}/tools/slicedata)

file(RELATIVE_PATH page_from_program ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_DATADIR}/slicedata/view.html)
target_compile_definitions(slicedata PRIVATE SLICEDATA_PAGE_FROM_PROGRAM="${page_from_program}")
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  return()
endif()
set(empty_page ${PROJECT_BINARY_DIR}/share/slicedata/view.html)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share/slicedata)
add_custom_command(TARGET slicedata POST_BUILD COMMAND slicedata view -o ${empty_page} --force VERBATIM)
install(FILES ${empty_page} DESTINATION ${CMAKE_INSTALL_DATADIR}/slicedata)
