#!/usr/bin/env bash
# Random machines and random documents over them: what the plan says beforehand against what the removal does, at once
# and after a restart.
#   scripts/soak.sh [--count N] [--seed S] [--kind win32|win64] [--only K] [--show] [--reduce]
# N machines (1000) in each kind of prefix, or in one; number K alone; --show prints the machine and the document,
# --reduce the least of them that still shows a difference. The cases in soak/cases run first. Every machine can be
# made again by seed and number, which are printed with a difference. Non-zero if anything differed.
set -euo pipefail
root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

kinds=(win32 win64)
options=(--count 1000)
cases=("$root"/soak/cases/*.case)
while (($# > 0)); do
    case $1 in
    --kind)
        kinds=("$2")
        shift
        ;;
    --count | --seed)
        options+=("$1" "$2")
        shift
        ;;
    --only)
        options+=("$1" "$2")
        cases=()
        shift
        ;;
    --show | --reduce)
        options+=("$1")
        ;;
    *)
        sed -n '2,/^set/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2
        exit 2
        ;;
    esac
    shift
done

"$root/scripts/build.sh" release >&2
PRODRM_DIST="Z:${root//\//\\}\\dist"
export PRODRM_DIST
export PRODRM_TIMEOUT=${PRODRM_TIMEOUT:-36000}
code=0
for kind in "${kinds[@]}"; do
    echo "== $kind"
    "$root/scripts/prefix.sh" once "$kind" "$root/build/release/soak/prodrm-soak.exe" \
        "${options[@]}" "${cases[@]}" </dev/null || code=1
done
exit "$code"
