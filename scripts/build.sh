#!/usr/bin/env bash
# Sets up, configures and builds: build.sh [release|debug] [TARGETS...]
# The release preset leaves the finished product in dist/.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=release
case ${1:-} in
release | debug)
    preset=$1
    shift
    ;;
esac

scripts/setup.sh
mkdir -p build
# Two builds of one tree wait for each other.
exec 9>"build/$preset.lock"
flock 9
if [[ ! -e build/$preset/build.ninja ]]; then
    cmake --preset "$preset" 9>&-
fi
# All that can be built is built, so that one broken file shows its own errors only.
cmake --build --preset "$preset" -j "$(nproc)" ${1:+--target "$@"} -- -k 0 9>&-
