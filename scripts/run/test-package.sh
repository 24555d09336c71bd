# SPDX-License-Identifier: GPL-2.0-only
# [--write] [chroot] [boot] install the Debian packages in a fresh Debian 12 and build the modules; needs root
#
# chroot: without booting it, takes minutes. boot: in an emulated machine, with an upgrade of the kernel, takes
# most of an hour. Both are the default. --write puts the parts of boot into docs/results/package-guest.md.
# Both download a whole system, so this is not part of "./run test".
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/results.sh
. scripts/package/system.sh
. scripts/package/chroot.sh
. scripts/package/boot.sh

write='' tests=()
for word in "$@"; do
    case $word in
    --write) write=1 ;;
    chroot | boot) tests+=("$word") ;;
    *) fail "unknown word '$word'; there are --write, chroot and boot" ;;
    esac
done
[ ${#tests[@]} != 0 ] || tests=(chroot boot)

[ "$(id -u)" = 0 ] || fail "a system of its own takes root rights"
[ "$(dpkg --print-architecture)" = amd64 ] || fail "only amd64 machines can do this"
need package package-test
bash scripts/run/package.sh || fail "no package was built"
packages=("$GPON_BUILD_DIR"/packages/gpon{flow,-flow-dkms}_*.deb)
version=$(dpkg-deb -f "${packages[0]}" Version)

root=$GPON_BUILD_DIR/package-test
trap unmount_proc EXIT
for test in "${tests[@]}"; do
    case $test in
    chroot) test_in_chroot ;;
    boot) test_in_guest ;;
    esac
done
if [ -n "$write" ] && [[ " ${tests[*]} " == *" boot "* ]]; then
    print_results | write_result package-guest 'The packages in a booted system'
fi
