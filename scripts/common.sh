# What every script here does first: stop at the first failure, show its own opening comment for --help, and work from
# the top of the project whatever directory it was called from.
set -euo pipefail
case "${1:-}" in
    -h | --help)
        sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
esac
cd "$(dirname "${BASH_SOURCE[0]}")/.."
