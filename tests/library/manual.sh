#!/usr/bin/env bash
# Fails unless a program's manual page shows without warnings, and the page and the shell's completion
# offer the options that its help prints, each command's own:
#   tests/library/manual.sh PROGRAM [COMMAND...]
set -euo pipefail
cd "$(dirname "$0")/../.."
export LC_ALL=C.UTF-8 LANG=C.UTF-8 LANGUAGE=
program=$1 name=${1##*/}
shift
page=man/$name.1
status=0

warnings=$(man --warnings -l "$page" 2>&1 >/dev/null)
[ -z "$warnings" ] || { echo "$warnings"; status=1; }

# The long options that the help of the program, or of a command, names at the beginning of a line.
in_help() {
    "$program" "$@" | sed -nE 's/^ +(-[a-z], ?)?(--[a-z-]+).*/\2/p' | sort -u
}

# Those that stand in a command's section of the page, or before the first command's.
in_page() {
    sed 's/\\-/-/g' "$page" | awk -v command="$1" '
        /^\.SH/ { section = "" } /^\.SS umdview / { section = $3 }
        section == command && tag && match($0, /--[a-z-]+/) { print substr($0, RSTART, RLENGTH) }
        { tag = /^\.TP/ }' | sort -u
}

# Those that the completion offers after a command.
in_completion() {
    bash -c '
        _init_completion() { cur=${COMP_WORDS[COMP_CWORD]}; prev=${COMP_WORDS[COMP_CWORD-1]}
                             words=("${COMP_WORDS[@]}"); cword=$COMP_CWORD; }
        . "completion/$1"
        COMP_WORDS=("$@" --) COMP_CWORD=$#
        "_$1"
        printf "%s\n" "${COMPREPLY[@]}"' bash "$name" "$@" | grep ^- | sort -u
}

# Fails when two lists differ.
same() {
    local title=$1 difference
    difference=$(diff <(echo "$2") <(echo "$3")) && return
    printf '%s: < is in the help alone, > is not there\n%s\n' "$title" "$difference"
    status=1
}

# GTK keeps the options that every application has for --help-all.
help=(--help)
[ "$name" != umdread ] || help=(--help-all)
common=$(in_help "${help[@]}")
[ -n "$common" ] || { echo "The help of $name names no options"; exit 1; }
same "$page" "$common" "$(in_page '')"
same "completion/$name" "$common" "$(in_completion)"
for command in "$@"; do
    options=$(in_help "$command" --help)
    same "$page, $command" "$options" "$(sort -u <(echo "$common") <(in_page "$command"))"
    same "completion/$name, $command" "$options" "$(in_completion "$command")"
done
exit $status
