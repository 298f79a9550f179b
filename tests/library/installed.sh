#!/usr/bin/env bash
# Builds and runs the README's examples against an installation, found by CMake and by pkg-config, then
# moves the installation and does it again:
#   tests/library/installed.sh PREFIX BOOK EXAMPLE.cpp...
# PREFIX is copied to a folder with a space in its name. CXX names the compiler.
set -euo pipefail
host=$(dirname "$(realpath "$0")")/host
prefix=$1 book=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Runs a built host on a book that nobody has read, and finds the note that it was to keep.
run() {
    cp "$book" "$work/book.umd"
    "$1" "$work/book.umd" "$work/notes.qvp"
    grep -q "to look up" "$work/notes.qvp"
    rm "$work"/book.* "$work/notes.qvp"
}

build_by_cmake() {
    cmake -S "$host" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$1" -DREADME_EXAMPLES="$examples" >"$work/log"
    cmake --build "$work/cmake" >>"$work/log"
    run "$work/cmake/host"
    rm -rf "$work/cmake"
}

build_by_pkg_config() {
    local file
    file=$(find "$1" -name umdformat.pc)
    export PKG_CONFIG_PATH=${file%/*}
    eval "set -- $(pkg-config --cflags --libs umdformat)" # it quotes what has spaces
    "${CXX:-c++}" -std=c++17 "$host/main.cpp" "${sources[@]}" "$@" -o "$work/host"
    LD_LIBRARY_PATH=${PKG_CONFIG_PATH%/*} run "$work/host"
}

sources=("$@")
examples=$(IFS=';' && echo "$*")
cp -a "$prefix" "$work/first place"
for place in "first place" "another/second place"; do
    mkdir -p "$work/another"
    [ -d "$work/$place" ] || mv "$work/first place" "$work/$place"
    echo "In \"$place\", by CMake and by pkg-config:"
    build_by_cmake "$work/$place" || { cat "$work/log"; exit 1; }
    build_by_pkg_config "$work/$place"
done
