#!/usr/bin/env bash
# Uses an installed tree as a host does: with CMake, with pkg-config and the bare compiler, and as the program. Every
# installed header must be usable from the installed tree alone.
#
# check.sh PREFIX LIBDIR    CXX and CXXFLAGS of the environment hold for all that is compiled
set -euo pipefail
unset LD_LIBRARY_PATH
prefix=$1
libdir=$2
here=$(cd "$(dirname "$0")" && pwd)
: "${CXX:=g++}"
read -ra flags <<<"${CXXFLAGS:-}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "-- the installed program"
version=$("$prefix/bin/slicedata" --version)
version=${version#slicedata }
"$prefix/bin/slicedata" generate lattice -o "$work/lattice.cli" --size 1 --cell 1

echo "-- CMake: the examples as a project of their own, built and run as docs/guide.md says"
cp -r "$here/../../examples" "$work/examples"
sed -n '/^```sh$/,/^```$/{/^```/!p}' "$here/../../docs/guide.md" >"$work/guide.sh"
(cd "$work" && CMAKE_PREFIX_PATH=$prefix bash -euo pipefail guide.sh) | tee "$work/guide.log"
grep -qF "Found VelSDK.AM.SliceData $version" "$work/guide.log"
grep -qF "tests passed, 0 tests failed" "$work/guide.log"

echo "-- pkg-config and $CXX"
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
pkg-config --exact-version="$version" VelSDK.AM.SliceFormats
read -ra cflags < <(pkg-config --cflags VelSDK.AM.SliceFormats)
read -ra libraries < <(pkg-config --libs VelSDK.AM.SliceFormats)
flags+=(-std=c++17 "${cflags[@]}")
"$CXX" "${flags[@]}" "$work/examples/slice_a_part.cpp" "${libraries[@]}" \
  -Wl,-rpath,"$prefix/$libdir" -o "$work/slice_a_part"
"$work/slice_a_part" "$work/ring.slicestack"

echo "-- the installed headers"
(cd "$prefix/include" && find SliceData SliceFormats -name '*.h' -printf '#include <%p>\n' | sort) >"$work/headers.cpp"
"$CXX" "${flags[@]}" -Wall -Wextra -Wpedantic -Werror -fsyntax-only "$work/headers.cpp"
