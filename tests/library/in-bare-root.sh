#!/usr/bin/env bash
# The part of scripts/test-packages that runs in the bare root folder: installs the packages in /tmp, reads
# a book, removes them, and fails when anything is left.
set -euo pipefail
cd /tmp
export LC_ALL=C.UTF-8

! command -v cc c++ gcc g++ >/dev/null || { echo "There is a compiler here"; exit 1; }

# All files, but for what dpkg writes about its own work.
files() {
    find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /tmp \) -prune -o -print |
        grep -vE '^/var/(log/|lib/dpkg/.*-old$|cache/(ldconfig|man)/)' | sort
}

files >before
dpkg --install ./*.deb
[ "$(dpkg --audit)" = "" ]

mkumd alice.txt -o alice.umd
umdview info alice.umd | grep -q "Alice"
umdview text alice.umd | grep -q "White Rabbit"
screens=$(umdview render alice.umd --all --out screens >/dev/null && ls screens | wc -l)
[ "$screens" -gt 1 ]
[ "$(stat -c %s screens/screen-0001.png)" -gt 5000 ] || { echo "Nothing is drawn"; exit 1; }
HOME=/tmp umdread --version # its toolkit makes folders of the user's

dpkg --purge umdread umdview libumdformat-doc libumdformat-dev libumdformat1
files >after
diff before after || { echo "The packages leave something behind"; exit 1; }
echo "In the bare root: installed, read a book of $screens screens, removed, nothing left"
