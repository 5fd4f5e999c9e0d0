#!/usr/bin/env bash
# output.sh PROGRAM EXPECTED: the program succeeds, and prints what the file EXPECTED holds and nothing else.
set -euo pipefail
output=$("$1" 2>&1 && echo .) # the dot keeps the line ends behind an answer
diff "$2" <(printf %s "${output%.}")
