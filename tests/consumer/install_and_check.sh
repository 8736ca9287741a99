#!/usr/bin/env bash
# Installs a build, moves the installed tree away, and uses it as a host does.
#
# install_and_check.sh BUILD_DIR LIBDIR
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/prefix"
"$(dirname "$0")/check.sh" "$work/prefix" "$2"
