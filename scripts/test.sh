#!/usr/bin/env bash
# Installs what is missing, builds the tests (by default under AddressSanitizer
# and UndefinedBehaviorSanitizer) and runs them all with ctest.
# test.sh [Debug|Release|Asan] [ctest args...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
type=${1:-Asan}
shift || true
"$root/scripts/deps.sh"
"$root/scripts/build.sh" "$type"
dir="$root/build/$(echo "$type" | tr '[:upper:]' '[:lower:]')"
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
cd "$dir"
ctest --output-on-failure -j"$(nproc)" "$@"
