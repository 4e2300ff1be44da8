#!/usr/bin/env bash
# Checks of the sources: lint.sh format|cppcheck|includes|shell [BUILD_DIR]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${2:-build/release}

sources() {
    find src include tools tests bench demo docs \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -print0
}

case ${1:-} in
format)
    sources | xargs -0 -r clang-format --dry-run -Werror
    ;;
cppcheck)
    mkdir -p "$build/cppcheck"
    cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++20 --language=c++ \
        --platform=win32W --library=windows --enable=warning,performance,portability \
        --suppressions-list=cmake/cppcheck.txt --cppcheck-build-dir="$build/cppcheck" \
        -DUNICODE -D_UNICODE -D_WIN32 -D__MINGW32__ -Isrc -Iinclude -Itools -j2 src tools
    ;;
includes)
    # Each folder may include itself and those before it; the way back up is an interface that lies in operations.
    below=()
    code=0
    for folder in foundation operations script catalogue api; do
        below+=("$folder")
        allowed=$(IFS='|' && echo "${below[*]}")
        ! grep -rnE '#include "[a-z]+/' "src/$folder" | grep -vE "#include \"($allowed)/" || code=1
    done
    ! grep -rnE '#include "[^"]*\b(tools|tests|bench)/' src include tools || code=1
    exit "$code"
    ;;
shell)
    find scripts .ci demo tests -type f \( -name '*.sh' -o -path '.ci/*' \) -print0 | xargs -0 shellcheck -x
    ;;
*)
    echo "usage: lint.sh format|cppcheck|includes|shell [BUILD_DIR]" >&2
    exit 2
    ;;
esac
