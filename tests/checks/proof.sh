# SPDX-License-Identifier: GPL-2.0-only
#
# shellcheck disable=SC2034,SC2154 # proofs_failed is for the file that sources this one, check is its own
#
# Helpers to prove that a check fails when it should: each case creates a small tree in $tree.

proofs_failed=0
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

fresh_tree() {
    rm -rf "$tree"
    mkdir -p "$tree"
}

# file PATH: writes standard input to that file of the tree.
file() {
    mkdir -p "$tree/$(dirname "$1")"
    cat >"$tree/$1"
}

# object PATH TEXT: writes a source and compiles it; the object is PATH.o.
object() {
    file "$1" <<<"$2"
    g++ -std=c++20 -w -c "$tree/$1" -o "$tree/$1.o"
}

# check_tree: runs $check on the tree and its objects.
check_tree() {
    mapfile -t objects < <(find "$tree" -name '*.o')
    python3 "$check" "$tree" "${objects[@]}"
}

# passes TITLE COMMAND...
passes() {
    local output
    if ! output=$("${@:2}" 2>&1); then
        printf 'should pass: %s\n%s\n' "$1" "$output"
        proofs_failed=1
    fi
}

# fails TITLE TEXT COMMAND...: with TEXT among what it prints, so that it fails for that reason.
fails() {
    local output
    if output=$("${@:3}" 2>&1); then
        printf 'should fail: %s\n' "$1"
        proofs_failed=1
    elif [[ $output != *"$2"* ]]; then
        printf 'should say "%s": %s\n%s\n' "$2" "$1" "$output"
        proofs_failed=1
    fi
}
