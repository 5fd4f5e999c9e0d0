#!/usr/bin/env bash
# console.sh PAGE COMMAND_DIR [FILE...]: types what the ```console blocks of a page show and compares the answers, so that a page
# tells what the programs do. Lines that begin "$ " are typed, all in one directory that is made for them and holds the FILEs; the
# lines up to the next are the answer, standard error included.
set -euo pipefail
page=$(realpath "$1")
PATH=$2:$PATH
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
[ $# -le 2 ] || cp "${@:3}" "$scratch"
cd "$scratch"
# What is typed must neither depend on the user's own files nor change them.
export TZ=UTC LC_ALL=C HOME=$scratch
unset "${!TARVANI_@}" XDG_CONFIG_HOME
umask 022

typed="" expected="" commands=0 failures=0
settle() {
    [ -n "$typed" ] || return 0
    local answer
    answer=$(eval "$typed" 2>&1 && echo . || echo .) # the dot keeps the line ends behind an answer
    commands=$((commands + 1))
    if [ "${answer%.}" != "$expected" ]; then
        failures=$((failures + 1))
        printf '%s\n' "$page: \$ $typed" && diff <(printf %s "$expected") <(printf %s "${answer%.}") || true
    fi
    typed="" expected=""
}

block=""
while IFS= read -r line; do
    case "$block:$line" in
        ':```console') block=console ;;
        'console:```') settle && block="" ;;
        'console:$ '*) settle && typed=${line#'$ '} ;;
        console:*) expected+=$line$'\n' ;;
    esac
done <"$page"
echo "$commands commands, $failures with another answer"
[ "$commands" -gt 0 ] && [ "$failures" = 0 ]
