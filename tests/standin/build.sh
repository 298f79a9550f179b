#!/usr/bin/env bash
# Builds the stand-in of GNU libiconv into a folder and prints the options that make the build use
# it:  cmake --preset ci -B build/libiconv $(tests/standin/build.sh build/standin)
set -euo pipefail

if [ $# -ne 1 ]; then
    echo "usage: $0 FOLDER" >&2
    exit 2
fi
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1/include" "$1/lib"
out=$(cd "$1" && pwd)

cp "$here/iconv.h" "$out/include/"
"${CXX:-c++}" -std=c++17 -O2 -fPIC -fvisibility=hidden -I "$here/../.." -shared \
    -Wl,-soname,libiconv.so.2 -o "$out/lib/libiconv.so.2" "$here/libiconv.cpp"
ln -sf libiconv.so.2 "$out/lib/libiconv.so"

echo "-DUMDFORMAT_ICONV=libiconv"
echo "-DLIBICONV_INCLUDE_DIR=$out/include"
echo "-DLIBICONV_LIBRARY=$out/lib/libiconv.so"
