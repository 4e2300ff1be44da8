# shellcheck shell=bash
# State of a whole machine, that is of a prefix that is stopped, and what differs between two states. To be sourced.
# A state is a sorted file with a line for each thing: its name, a tab, and what it holds. Things are the files, folders
# and links of the prefix and the keys and values of its registry, which the stopped server has written out in full:
# all hives, and on a 64-bit system both views, the 32-bit one below Wow6432Node. Only times are left out.

# Files with attributes, size and hash; links with their target.
machine_state_files() {
    (
        cd "$1" || exit
        find . -type f ! -path './*.reg' -print0 | xargs -0 sha1sum
        find . -mindepth 1 ! -path './*.reg' \( -type f -printf '%p\t%M %s\n' -o -printf '%p\t%M %l\n' \)
    ) | awk -F '\t' '
        NF == 1 { hash[substr($0, 43)] = substr($0, 1, 40) }
        NF == 2 { print substr($1, 3) "\t" $2 " " hash[$1] }'
}

# Keys that hold nothing but keys have no line of their own in the hive files: they follow from those below them.
# A value whose data takes several lines is joined to one.
machine_state_registry() {
    awk '
        function add_key(path) {
            while (!(path in keys)) {
                keys[path]
                print path "\t"
                sub(/\\[^\\]*$/, "", path)
            }
        }
        BEGIN { hives["system"] = "HKLM"; hives["user"] = "HKCU"; hives["userdef"] = "HKU\\.Default" }
        FNR == 1 { hive = FILENAME; sub(/.*\//, "", hive); sub(/\.reg$/, "", hive); hive = hives[hive]; keys[hive] }
        /^$|^;;|^WINE REGISTRY|^#time=/ { next }
        /^\[/ {
            sub(/\] [0-9]+$/, "")
            key = hive "\\" substr($0, 2)
            gsub(/\\\\/, "\\", key)
            add_key(key)
            next
        }
        { sub(/^  /, ""); value = value $0 }
        /,\\$/ { sub(/\\$/, "", value); next }
        {
            match(value, /^("([^"\\]|\\.)*"|[^=]*)=/)
            print key " " substr(value, 1, RLENGTH - 1) "\t" substr(value, RLENGTH + 1)
            value = ""
        }' "$1"/*.reg
}

# machine_state_take PREFIX FILE
machine_state_take() {
    { machine_state_files "$1" && machine_state_registry "$1"; } | LC_ALL=C sort >"$2"
}

# machine_state_compare OLD NEW: a line for each thing that differs, beginning with "new", "gone" or "changed".
machine_state_compare() {
    awk -F '\t' '
        NR == FNR { old[$1] = $2; next }
        !($1 in old) { print "new      " $1; next }
        old[$1] != $2 { print "changed  " $1 }
        { delete old[$1] }
        END { for (thing in old) print "gone     " thing }' "$1" "$2" | LC_ALL=C sort
}
