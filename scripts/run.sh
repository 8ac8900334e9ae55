#!/usr/bin/env bash
# Installs what is missing, builds Vimo (Release) and starts it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/deps.sh"
"$root/scripts/build.sh" Release
exec "$root/build/release/src/vimo" "$@"
