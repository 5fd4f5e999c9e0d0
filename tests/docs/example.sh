#!/usr/bin/env bash
# example.sh TARVANI READ_SECTION SCENE: the example of the README gives a section's bytes, also those of a container that a web
# server has, and fails where there is none.
set -euo pipefail
scratch=$(mktemp -d)
server=""
trap '[ -z "$server" ] || kill "$server"; rm -rf "$scratch"' EXIT
"$1" index create "$scratch/scene.idx" -C "$3" geo
"$2" "$scratch/scene.idx?geo" | cmp - "$3/geo"
if "$2" "$scratch/scene.idx?none"; then
    echo "a section that is not there was read"
    exit 1
fi

# Any server does; this one takes a port that is free, and tells it before it serves.
command -v python3 >/dev/null || exit 0
cd "$scratch"
python3 -c '
import http.server, socketserver
server = socketserver.TCPServer(("127.0.0.1", 0), http.server.SimpleHTTPRequestHandler) # asks nobody for names
print(server.server_address[1], flush=True)
server.serve_forever()' >port 2>log &
server=$!
until [ -s port ]; do
    kill -0 "$server" # gone: no port will come
    sleep 0.1
done
"$2" "http://127.0.0.1:$(cat port)/scene.idx?geo" | cmp - "$3/geo"
