# SPDX-License-Identifier: GPL-2.0-only
# [ARCH...] [TEST...] [NAME=VALUE...] test the modules in real kernels (arm64, x86_64)
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/kernel/common.sh
. scripts/kernel/guest-tests.sh

archs=()
tests=()
for word in "$@"; do
    case $word in
    arm64 | x86_64) archs+=("$word") ;;
    [a-z]*=*) guest_words+=("$word") ;;
    *)
        [ -f "tests/kernel/$word.sh" ] || {
            echo "run test-kernel: '$word' is no architecture, nor is there tests/kernel/$word.sh" >&2
            exit 2
        }
        tests+=("$word")
        ;;
    esac
done
[ ${#archs[@]} -gt 0 ] || archs=(arm64 x86_64)
if [ ${#tests[@]} = 0 ]; then
    mapfile -t tests < <(all_guest_tests && all_panic_tests)
fi

need kernel cross build
failed=()
for arch in "${archs[@]}"; do
    { prepare_guest "$arch" && run_guest_tests "$arch" "${tests[@]}"; } || failed+=("$arch")
done
if [ ${#failed[@]} != 0 ]; then
    echo "FAILED after $SECONDS s: ${failed[*]}"
    exit 1
fi
echo "all passed in $SECONDS s: ${archs[*]}"
