#!/usr/bin/env bash
# example.sh TARVANI READ_SECTION SCENE: the example of the README gives a section's bytes, and fails where there is none.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$1" index create "$scratch/scene.idx" -C "$3" geo
"$2" "$scratch/scene.idx?geo" | cmp - "$3/geo"
if "$2" "$scratch/scene.idx?none"; then
    echo "a section that is not there was read"
    exit 1
fi
