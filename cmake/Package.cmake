# The Debian package, which `cpack` makes: all that is installed, for hosts and for people at a desk.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velsdk-am-slicedata)
set(documents_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_PACKAGE_NAME})
install(FILES LICENSE DESTINATION ${documents_dir} RENAME copyright)
install(FILES CHANGELOG.md DESTINATION ${documents_dir} RENAME changelog)

set(CPACK_PACKAGE_CONTACT "The VelSDK SliceData authors <authors@velsdk.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}: library and program")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A C++17 library that holds and works on contours, hatch vectors and points of
build layers, in stacks that may be far larger than memory, and slicedata, a
program that looks into slice files, converts, moves, prepares and draws them.
.
With headers, a CMake package and pkg-config files for hosts.")
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PreparePackage.cmake)

# What the libraries and the program link, and what the installed headers include.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libboost-dev (>= 1.74)")
# And what those who link the libraries depend on.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)

include(CPack)
