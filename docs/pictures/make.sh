#!/bin/sh
# Makes the pictures of docs/program.md anew.
#
# usage: make.sh PROGRAM FOLDER    PROGRAM: the slicedata to use; FOLDER: where the pictures go
set -eu
program=$1
folder=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$here"/*.cli "$here"/*.csv "$work"
cd "$work"

# draw NAME FILE [OPTION...]: a picture of layer 1 of a file
draw() {
  name=$1 file=$2
  shift 2
  "$program" render "$file" --layer 1 -o "$folder/$name.svg" --force "$@"
}

# prepare NAME OPERATION...: a picture of what becomes of the contours of the plate
prepare() {
  name=$1
  shift
  "$program" prepare plate.cli -o "$name.slicestack" --keep "Slice Border" "$@"
  draw "$name" "$name.slicestack" --start-points --directions
}

draw plate plate.cli --start-points --directions
prepare start-sharpest --start sharpest
prepare start-repeat --start repeat:3
prepare start-metal --start metal:4,6
prepare start-random --start random
prepare start-random-min --start random-min:5
prepare start-closest --start closest:0,14
prepare start-clockwise --start clockwise:3
prepare start-angle --start angle:90
prepare contours-to-vectors --contours-to-vectors
prepare overlap --contours-to-vectors=overlap:2,separate
prepare short --contours-to-vectors=overlap:-2,separate
prepare back --contours-to-vectors --vectors-to-contours

"$program" transform plate.cli -o distorted.cli --distortion scanner.csv --max-deviation 5um
draw distorted distorted.cli
"$program" transform plate.cli -o rescaled.cli --rescale edge.csv --platform=-1,15,25,-1 --max-deviation 5um
draw rescaled rescaled.cli

"$program" areas islands.cli --layer 1 -o "$folder/areas.svg" --force > /dev/null

"$program" generate lattice -o lattice.cli --size 20 --cell 5 --thickness 0.35
draw lattice lattice.cli
