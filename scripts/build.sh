# SPDX-License-Identifier: GPL-2.0-only
#
# Configures and builds one of the configurations of CMakePresets.json. Sourced in the tree's root.

. scripts/log.sh
. scripts/packages.sh

GPON_JOBS=${GPON_JOBS:-$(nproc)}

# Prefix of the commands that build and test; the built programs inherit it.
GPON_THROUGH=()

# What builds from nothing compiles several sources at once, which takes half the processor time. Other
# commands, as ./run build, compile one source at a time, for those who edit.
compile_together() {
    export GPON_COMPILE_TOGETHER=1
}

# PRESET: further words for cmake. A folder keeps the option that it was configured with, because
# another one would compile everything again. The configuration clang compiles each source separately
# and no header in advance: it shows that a source includes what it uses.
fresh_options() {
    if [ "$1" != clang ] && [ -n "${GPON_COMPILE_TOGETHER:-}" ] &&
        [ ! -f "$(preset_dir "$1")/build.ninja" ]; then
        echo -DGPON_UNITY_ALL=ON
    fi
}

# The release configuration, its subset "tool" and its superset "bench" share the build folder itself,
# the fuzzers are programs of the configuration asan. Each other one uses a subfolder of its name.
preset_dir() {
    case $1 in
    release | tool | bench) echo "$GPON_BUILD_DIR" ;;
    asan | fuzz) echo "$GPON_BUILD_DIR/asan" ;;
    *) echo "$GPON_BUILD_DIR/$1" ;;
    esac
}

# need_for PRESET...: installs the packages that these need.
need_for() {
    local preset groups=(build)
    for preset in "$@"; do
        [ "$preset" = tool ] || groups+=(test)
        case $preset in
        release) groups+=(cross) ;;
        asan | clang | fuzz) groups+=(clang) ;;
        coverage) groups+=(coverage) ;;
        bench) groups+=(cross bench) ;;
        esac
    done
    need "${groups[@]}"
}

# build_preset PRESET [TARGET...]: continues after an error, so that one run shows all errors. Steps at
# the same time may want one folder: the second waits.
build_preset() {
    mkdir -p "$(preset_dir "$1")"
    (flock 9 && build_locked "$@") 9>"$(preset_dir "$1")/.lock"
}

build_locked() {
    local dir target options targets=()
    need_for "$1" || return 1
    dir=$(preset_dir "$1")
    for target in "${@:2}"; do
        targets+=(--target "$target")
    done
    options=$(fresh_options "$1")
    # A folder that is configured for release has the tool among its targets.
    { [ "$1" = tool ] && [ -f "$dir/build.ninja" ]; } ||
        cmake --preset "$1" -B "$dir" ${options:+"$options"} || return 1
    "${GPON_THROUGH[@]}" cmake --build "$dir" --parallel "$GPON_JOBS" "${targets[@]}" -- -k 0 9>&-
}
