#!/usr/bin/env bash
# build.sh TYPE [cmake args...]: configures (once) and builds build/TYPE.
# TYPE is Debug, Release or Asan.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
type=${1:-Release}
shift || true
dir="$root/build/$(echo "$type" | tr '[:upper:]' '[:lower:]')"
werror=OFF
[ "${CI:-}" = "true" ] && werror=ON
if [ ! -f "$dir/build.ninja" ]; then
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="$type" -DVIMO_WERROR=$werror "$@" >/dev/null
elif [ "$#" -gt 0 ] || [ "$werror" = ON ]; then
  cmake "$dir" -DVIMO_WERROR=$werror "$@" >/dev/null
fi
# Objects are shared between checkouts of the tree through ccache.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
cmake --build "$dir" -j"$(nproc)"
