#!/usr/bin/env bash
# Checks of the sources: lint.sh format|cppcheck|includes|shell|schema [BUILD_DIR]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${2:-build/release}

sources() {
    find src include tools tests bench demo soak docs \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -print0
}

# Writes the examples of a reference as files of their own: examples DOCUMENT FOLDER.
examples() {
    awk -v folder="$2" '/^```xml$/ { file = sprintf("%s/%d.xml", folder, ++count); next }
                        /^```$/ { file = "" }
                        file { print > file }' "$1"
}

# Every sample and every example is valid; a misspelt word is not.
check_schemas() {
    local folder kind
    folder=$(mktemp -d)
    # shellcheck disable=SC2064  # the folder of now
    trap "rm -rf '$folder'" EXIT
    for kind in script catalogue; do
        mkdir "$folder/$kind"
        examples "docs/$kind-reference.md" "$folder/$kind"
    done
    xmllint --noout --relaxng docs/schema/catalogue.rng documents/{products,detection}.xml \
        demo/catalogue/detection.xml "$folder"/catalogue/*.xml
    xmllint --noout --relaxng docs/schema/script.rng documents/{embedded.xml,intern/*.xml,extern/*.xml} \
        demo/catalogue/{removal.xml,extern/*.xml} "$folder"/script/*.xml
    for kind in script catalogue; do
        sed 's/ name="/ nmae="/' "$folder/$kind/1.xml" >"$folder/wrong.xml"
        if xmllint --noout --relaxng "docs/schema/$kind.rng" "$folder/wrong.xml" 2>/dev/null; then
            echo "lint.sh: the schema of the ${kind}s takes a misspelt attribute" >&2
            return 1
        fi
    done
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
schema)
    check_schemas
    ;;
*)
    echo "usage: lint.sh format|cppcheck|includes|shell|schema [BUILD_DIR]" >&2
    exit 2
    ;;
esac
