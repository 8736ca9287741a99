# Makes one page of the files here, as a C++ source with its text: cmake -D OUTPUT=FILE -P assemble.cmake
#
# In page.html, {{FILE}} stands for the text of a file.

file(READ ${CMAKE_CURRENT_LIST_DIR}/page.html page)
string(REGEX MATCHALL "{{[a-z.]+}}" marks "${page}")
foreach(mark IN LISTS marks)
  string(REGEX REPLACE "[{}]" "" name ${mark})
  file(READ ${CMAKE_CURRENT_LIST_DIR}/${name} text)
  string(STRIP "${text}" text)
  string(REPLACE "${mark}" "${text}" page "${page}")
endforeach()
file(WRITE ${OUTPUT} "#include \"view/Page.h\"\n\nstd::string_view const Tool::View::kPage = R\"page(${page})page\";\n")
