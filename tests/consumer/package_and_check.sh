#!/usr/bin/env bash
# Packs a build as a Debian package, unpacks that, looks whether all is in it, and uses it as a host does.
#
# package_and_check.sh BUILD_DIR LIBDIR    exits with 77 where the tools for packages are not there
set -euo pipefail
for tool in dpkg-deb dpkg-shlibdeps file; do
  type "$tool" &>/dev/null || { echo "skipped: there is no $tool; it comes with dpkg-dev and file" && exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree/usr

cpack --config "$1/CPackConfig.cmake" -B "$work"
packages=("$work"/*.deb)
dpkg-deb --info "${packages[@]}"
dpkg-deb --extract "${packages[@]}" "$work/tree"

# What the headers include and the libraries link.
depends=$(dpkg-deb --field "${packages[@]}" Depends)
for package in libboost-dev libboost-filesystem libc6 libdeflate libpugixml libstdc++6; do
  [[ ", $depends" == *", $package"* ]] || { echo "$package is no dependency" && exit 1; }
done
gzip --test "$tree/share/man/man1/slicedata.1.gz" "$tree/share/doc/velsdk-am-slicedata/changelog.gz"
grep --quiet '^complete .* slicedata$' "$tree/share/bash-completion/completions/slicedata"
grep --quiet '^MIT License' "$tree/share/doc/velsdk-am-slicedata/copyright"
grep --quiet '</html>' "$tree/share/slicedata/view.html"

"$(dirname "$0")/check.sh" "$tree" "$2"
