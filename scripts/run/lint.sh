# SPDX-License-Identifier: GPL-2.0-only
# [STEP...] static checks of the sources: format tidy shell
set -eu
. scripts/build.sh
. scripts/sources.sh

check_format() {
    local found
    found=$(cpp_sources_to_format | xargs clang-format --dry-run 2>&1 |
        sed -nE 's/^([^ :]+):[0-9]+:[0-9]+: warning: .*/\1/p' | sort | uniq -c)
    if [ -n "$found" ]; then
        printf '%s\n' "places that ./run format would change:" "$found"
        return 1
    fi
}

# clang-tidy needs to know how a source is compiled; generated headers do not exist here, so
# nothing has to be built first.
check_tidy() {
    local dir
    dir=$(preset_dir clang)
    cmake --preset clang -B "$dir" &&
        sed -nE 's/^ *"file": "(.*)",?$/\1/p' "$dir/compile_commands.json" | grep '[.]cpp$' |
        grep -v /CMakeFiles/ | sort -u |
        xargs -n 4 -P "$GPON_JOBS" clang-tidy -p "$dir" --quiet
}

check_shell() {
    shell_sources | xargs shellcheck
}

need_for clang
need format lint
if [ $# = 0 ]; then
    set -- format tidy shell
fi
failed=()
for name in "$@"; do
    case $name in
    format | tidy | shell) step "lint-$name" "check_$name" || failed+=("$name") ;;
    *)
        echo "run lint: no step '$name'" >&2
        exit 2
        ;;
    esac
done
[ "${#failed[@]}" = 0 ]
