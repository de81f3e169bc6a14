#!/usr/bin/env bash
# Installs the build into an empty place, builds the example against what lies there, and lets it change an archive
# that another tool then reads. Usage: consume.sh BUILD_FOLDER EXAMPLE_FOLDER COMPILER
set -euo pipefail

fail() { echo "$1" >&2; exit 1; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch/usr" >"$scratch/install.log"
for expected in bin/forkzip bin/vantorel-publish share/man/man1/forkzip.1 share/man/man1/vantorel-publish.1 \
    share/bash-completion/completions/forkzip share/zsh/vendor-completions/_forkzip \
    share/fish/vendor_completions.d/forkzip.fish; do
  [ -e "$scratch/usr/$expected" ] || fail "not installed: $expected"
done
"$scratch/usr/bin/forkzip" --version

# The headers are whole, and private ones stay at home.
cd "$scratch/usr/include/vantorel"
find . -name '*.h' -printf '#include "%P"\n' >"$scratch/all.cpp"
"$3" -std=c++20 -fsyntax-only -I. "$scratch/all.cpp"
for private in platform/compress platform/run platform/ui zip/archive/NameIndex.h zip/extract/UnzipRun.h \
    zip/write/EntryWriter.h; do
  [ ! -e "$private" ] || fail "installed: $private"
done

# Users of the Zip library need neither sockets nor windows: c-ares cannot be found here, nor the toolkit.
mkdir "$scratch/broken"
printf '%s\n' "Name: c-ares" "Description: broken" "Version: 0" "Requires: nothing-there" >"$scratch/broken/libcares.pc"
PKG_CONFIG_PATH="$scratch/broken" cmake -S "$2" -B "$scratch/build" -DCMAKE_CXX_COMPILER="$3" \
    -DCMAKE_PREFIX_PATH="$scratch/usr" \
    -DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON --no-warn-unused-cli >"$scratch/configure.log"
cmake --build "$scratch/build"

cd "$scratch"
echo "a note" >note.txt
echo "first" >first.txt
ln -s note.txt link
mkfifo pipe
truncate -s 4294967396 too-large
zip -q archive.zip first.txt
for refused in too-large pipe missing .; do
  ! build/list-archive archive.zip "$refused" || fail "what cannot be stored was added: $refused"
done
unzip -tqq archive.zip
build/list-archive archive.zip link | grep -q first.txt
[ "$(unzip -p archive.zip note.txt)" = "a note" ] || fail "a link's data was lost"
