#!/usr/bin/env bash
# From an installer to documents that are proved, in both kinds of prefix: names that are hard to write, a maker's level.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# CTest starts it in tests/author of the build tree.
PRODRM_DEMO_DIR=$(cd ../../demo && pwd)
export PRODRM_DEMO_DIR
rows=$("$root/scripts/prove_many.sh" --no-build --kind "$PRODRM_KIND" odd_names makers_level) || {
    echo "$rows"
    exit 1
}
echo "$rows"
# The product's traces were seen, and none was left: columns of the table.
for shape in odd_names makers_level; do
    grep -qE "^$shape.exe +$PRODRM_KIND +[1-9][0-9] +[0-9]+ +(yes|no) +2 +0 +0 " <<<"$rows" || {
        echo "FAILED: not the row that is expected of $shape"
        exit 1
    }
done
