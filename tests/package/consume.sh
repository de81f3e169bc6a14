#!/usr/bin/env bash
# Installs the build into an empty place, builds the example against what lies there, and lets it change an archive
# that another tool then reads. Usage: consume.sh BUILD_FOLDER EXAMPLE_FOLDER COMPILER
set -euo pipefail

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch/usr" >"$scratch/install.log"
for expected in bin/forkzip bin/vantorel-publish share/man/man1/forkzip.1 share/man/man1/vantorel-publish.1 \
    share/bash-completion/completions/forkzip; do
  [ -e "$scratch/usr/$expected" ] || { echo "not installed: $expected" >&2; exit 1; }
done
"$scratch/usr/bin/forkzip" --version

cmake -S "$2" -B "$scratch/build" -DCMAKE_CXX_COMPILER="$3" -DCMAKE_PREFIX_PATH="$scratch/usr" >"$scratch/configure.log"
cmake --build "$scratch/build"

cd "$scratch"
echo "a note" >note.txt
echo "first" >first.txt
zip -q archive.zip first.txt
truncate -s 3G too-large
! build/list-archive archive.zip too-large || { echo "what cannot be stored was added" >&2; exit 1; }
unzip -tqq archive.zip
build/list-archive archive.zip note.txt | grep -q first.txt
[ "$(unzip -p archive.zip note.txt)" = "a note" ]
