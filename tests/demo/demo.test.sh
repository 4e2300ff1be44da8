#!/usr/bin/env bash
# The demonstration holds in both kinds of prefix. It runs in a prefix of its own, with the programs of this build.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# CTest starts it in tests/demo of the build tree.
PRODRM_DEMO_DIR=$(cd ../../demo && pwd)
export PRODRM_DEMO_DIR
exec "$root/scripts/demo.sh" --no-build --kind "$PRODRM_KIND"
