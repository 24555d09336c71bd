# SPDX-License-Identifier: GPL-2.0-only
# [ARCH...] [kasan|kcsan|nesting...] [TEST...] [--write] [NAME=VALUE...] test the modules in debug kernels
#
# --write rewrites the rows of the kernels in docs/results/debug-kernels.md.
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/results.sh
. scripts/kernel/common.sh
. scripts/kernel/guest-tests.sh
. scripts/kernel/debug-tests.sh

archs=()
flavours=()
tests=()
write=
for word in "$@"; do
    case $word in
    --write) write=1 ;;
    arm64 | x86_64) archs+=("$word") ;;
    kasan | kcsan | nesting) flavours+=("$word") ;;
    [a-z]*=*) guest_words+=("$word") ;;
    *)
        [ -f "tests/kernel/$word.sh" ] || {
            echo "run test-kernel-debug: '$word' is no architecture, no kind of kernel, and there" \
                "is no tests/kernel/$word.sh" >&2
            exit 2
        }
        tests+=("$word")
        ;;
    esac
done
[ ${#archs[@]} -gt 0 ] || archs=(x86_64)
[ ${#flavours[@]} -gt 0 ] || flavours=(kasan kcsan nesting)
if [ ${#tests[@]} = 0 ]; then
    mapfile -t tests < <(all_guest_tests)
fi

need kernel kernel-plugins cross build
failed=()
rows=$GPON_BUILD_DIR/logs/debug-kernels
mkdir -p "${rows%/*}"
: >"$rows"
for arch in "${archs[@]}"; do
    for flavour in "${flavours[@]}"; do
        { prepare_debug_guest "$arch" "$flavour" && "run_${flavour}_tests" "$arch" "${tests[@]}"; } ||
            failed+=("$arch-$flavour")
        debug_summary "$arch" "$flavour"
        debug_row "$arch" "$flavour" >>"$rows"
    done
done
[ -z "$write" ] || write_debug_rows "$rows"
if [ ${#failed[@]} != 0 ]; then
    echo "FAILED after $SECONDS s: ${failed[*]}"
    exit 1
fi
echo "all passed in $SECONDS s: ${archs[*]} ${flavours[*]}"
