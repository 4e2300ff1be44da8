#!/usr/bin/env bash
# Benchmarks of the library against bare system calls, as ratios in one run:
#   scripts/bench.sh [--kind win32|win64] [TEXT]   the comparisons whose name contains TEXT (all by default)
# Ends with an exit code other than 0 if a ratio is above its limit.
set -euo pipefail
root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

kind=win64
if [[ ${1-} == --kind ]]; then
    kind=$2
    shift 2
fi

"$root/scripts/build.sh" release >&2
# One processor for server and program: spread over several, registry times differ by a factor of five.
PRODRM_DIST="Z:${root//\//\\}\\dist"
export PRODRM_DIST
export PRODRM_TIMEOUT=1800
exec taskset -c 0 "$root/scripts/prefix.sh" once "$kind" "$root/build/release/bench/prodrm-bench.exe" "$@"
