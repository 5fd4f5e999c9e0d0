#!/usr/bin/env bash
# valgrind.sh BUILD_DIR: the command and the examples, called as the pages show them, read no memory that isn't theirs or was never
# set, and lose none. Each run leaves what valgrind says of it in a file of its own, so that nothing gets lost in a pipe, with a
# program that is killed, or behind a failure that the page wants.
set -euo pipefail
build=$(realpath "$1")
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
cd "$here/../.."
scratch=$(mktemp -d)
host=""
trap '[ -z "$host" ] || kill "$host"; rm -rf "$scratch"' EXIT
mkdir "$scratch/bin" "$scratch/logs"

# What stands in front of the programs in PATH and bears their names.
for program in "$build/tools/tarvani/tarvani" "$build"/examples/*; do
    if [ -f "$program" ] && [ -x "$program" ]; then
        name=$(basename "$program")
        printf '#!/bin/sh\nexec valgrind -q --leak-check=full --errors-for-leak-kinds=definite --error-exitcode=99 --log-file=%q %q "$@"\n' \
            "$scratch/logs/$name.%p" "$program" >"$scratch/bin/$name"
        chmod +x "$scratch/bin/$name"
    fi
done
PATH=$scratch/bin:$PATH

# A step that fails lets the others run: the reason is in the files.
failed=""
check() { "$@" || failed=1; }
for page in README.md docs/{command,events,formats,guide,history,paths,plugins,preprocessor}.md; do
    PKG_CONFIG_PATH=$build/tests/docs/pkgconfig check bash "$here/console.sh" $page "$scratch/bin" examples/plugin/mem.cpp
done
check bash "$here/example.sh" "$scratch/bin/tarvani" "$scratch/bin/read_section" "$PWD/examples/scene"
for example in line_source read_features; do
    TARVANI_PATH=examples/$example check bash "$here/output.sh" "$scratch/bin/$example" examples/$example/expected
done
# Which no page types.
if [ -e "$scratch/bin/event_host_libevent" ]; then
    timeout 60 event_host_libevent >"$scratch/port" &
    host=$!
    until [ -s "$scratch/port" ]; do
        kill -0 "$host"
        sleep 0.1
    done
    exec 3<>"/dev/tcp/127.0.0.1/$(cat "$scratch/port")"
    echo "anybody there?" >&3
    read -r -t 30 <&3 || failed=1
    exec 3>&-
    # What it has lost is told when it ends.
    kill "$host"
    wait "$host" || true
    host=""
fi

# None may be clean only because it never ran.
for program in "$scratch"/bin/*; do
    if ! compgen -G "$scratch/logs/$(basename "$program").*" >/dev/null; then
        echo "$(basename "$program") was not run"
        failed=1
    fi
done
# Lines that begin with two dashes tell only that valgrind doesn't know a call of the system, which answers ENOSYS then.
if grep -rh '^==' "$scratch/logs"; then failed=1; fi
echo "$(ls "$scratch/logs" | wc -l) runs under valgrind"
[ -z "$failed" ]
