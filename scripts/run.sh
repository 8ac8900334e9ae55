#!/usr/bin/env bash
# Installs what is missing, builds Vimo (Release) and starts it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/deps.sh"
"$root/scripts/build.sh" Release
bin="$root/build/release"
if [ -x "$bin/src/vimo" ]; then
  exec "$bin/src/vimo" "$@"
fi
# Until the application window exists, the demo paints a few strokes.
exec "$bin/cli/vimo-demo" "$@"
