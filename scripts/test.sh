#!/usr/bin/env bash
# Builds, then runs every test in both kinds of prefix and the checks of the sources:
# test.sh [--debug] [arguments of ctest, for example -R '^foundation' or -L win64]
# Leaves a JUnit report, tests.xml, in the build tree. Non-zero on any failure.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=release
if [[ ${1:-} == --debug ]]; then
    preset=debug
    shift
fi

scripts/build.sh "$preset"
exec ctest --preset "$preset" --output-junit tests.xml "$@"
