#!/usr/bin/env bash
# The demo's whole road, proof included, in a prefix of its own.
set -euo pipefail
exec "$(dirname -- "${BASH_SOURCE[0]}")/../../scripts/demo.sh" --no-build --kind "$PRODRM_KIND"
