#!/usr/bin/env bash
# Installs a build, moves the installed tree away, and uses it as a host does: with CMake, with pkg-config and the bare
# compiler, and as the program. Every installed header must be usable from the installed tree alone.
#
# check.sh BUILD_DIR LIBDIR
set -euo pipefail
unset LD_LIBRARY_PATH
build=$1
libdir=$2
here=$(cd "$(dirname "$0")" && pwd)
: "${CXX:=g++}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$prefix"

echo "-- CMake: find_package(VelSDK.AM.SliceData)"
cmake -S "$here" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$work/build"
"$work/build/fill_slice"
"$work/build/save_and_load" "$work/triangles.slicestack"

echo "-- pkg-config and $CXX"
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
read -ra flags < <(pkg-config --cflags VelSDK.AM.SliceFormats)
read -ra libraries < <(pkg-config --libs VelSDK.AM.SliceData)
"$CXX" -std=c++17 "${flags[@]}" "$here/../../examples/fill_slice.cpp" "${libraries[@]}" \
  -Wl,-rpath,"$prefix/$libdir" -o "$work/fill_slice"
"$work/fill_slice"

echo "-- the installed headers"
(cd "$prefix/include" && find . -name '*.h' -printf '#include <%P>\n' | sort) >"$work/headers.cpp"
"$CXX" -std=c++17 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" -fsyntax-only "$work/headers.cpp"

echo "-- the installed program"
"$prefix/bin/slicedata" --version
