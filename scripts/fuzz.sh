#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs the document-file fuzzer
# for a while (default 60 s), seeded from copies of the sample files. Fails
# on any crash, leak, timeout or memory blow-up; what it finds stays in
# build/fuzz/artifacts.
# fuzz.sh [seconds] [extra libFuzzer args...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
"$root/scripts/deps.sh"

dir="$root/build/fuzz"
werror=OFF
[ "${CI:-}" = "true" ] && werror=ON
flags="-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer"
CC=clang-14 CXX=clang++-14 cmake -S "$root" -B "$dir" -G Ninja \
  -DCMAKE_BUILD_TYPE=Debug -DVIMO_BUILD_FUZZ=ON -DVIMO_BUILD_TESTS=OFF \
  -DVIMO_BUILD_BENCH=OFF -DVIMO_BUILD_APP=OFF -DVIMO_WERROR=$werror \
  -DCMAKE_C_COMPILER_LAUNCHER= -DCMAKE_CXX_COMPILER_LAUNCHER= \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$dir" --target fuzz_archive

# The corpus grows in the build folder; the samples are only copied in.
corpus="$dir/corpus"
mkdir -p "$corpus" "$dir/artifacts"
find "$root/tests/data" -type f -size -2M -exec cp -n {} "$corpus/" \;

status=0
"$dir/fuzz/fuzz_archive" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
  -print_final_stats=1 -artifact_prefix="$dir/artifacts/" "$@" "$corpus" \
  >"$dir/fuzz.log" 2>&1 || status=$?
grep -E "^#[0-9]+ +DONE|^==[0-9]+==|SUMMARY|stat::number_of_executed_units" "$dir/fuzz.log" || true
if [ "$status" -ne 0 ]; then
  tail -40 "$dir/fuzz.log"
  echo "The fuzzer found a problem (exit $status); see $dir/fuzz.log and $dir/artifacts/"
  exit "$status"
fi
echo "fuzzing clean for $seconds s"
