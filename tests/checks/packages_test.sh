# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-packages.sh
command -v dpkg-deb >/dev/null || exit 77

# control NAME DEPENDS: the fields that a package must have to be built.
control() {
    printf '%s\n' "Package: $1" 'Version: 1' 'Architecture: all' "Depends: $2" \
        'Maintainer: nobody <n@example.org>' 'Recommends: graphviz' 'Description: proof' |
        file "$1/DEBIAN/control"
}

pack() {
    dpkg-deb --root-owner-group --build "$tree/$1" "$tree/$1.deb" >/dev/null
}

fresh_packages() {
    local source
    fresh_tree
    control tool \
        'libc6 (>= 2), libpcap0.8, libmnl0, libtracefs1, libtraceevent1, liburcu8, libncursesw6'
    for source in bin/gponflow share/man/man1/gponflow.1.gz \
        share/bash-completion/completions/gponflow share/zsh/vendor-completions/_gponflow \
        share/fish/vendor_completions.d/gponflow.fish share/man/man1/gponflow-explain.1.gz \
        share/gponflow/schemas/gponflow-explain-1.schema.json share/doc/gponflow/tools.md \
        share/doc/gponflow/copyright share/doc/gponflow/examples/scenarios/demo.scn; do
        echo x | file "tool/usr/$source"
    done
    control modules 'dkms, g++'
    echo x | file modules/usr/lib/tmpfiles.d/gpon-flow-dkms.conf
    echo x | file modules/usr/src/gpon-flow-1/dkms.conf
    find Kbuild src softonu -type f ! -path 'src/platform/host/*' ! -name '*.o' ! -name '*.ko' \
        ! -name '*.mod*' ! -name '.*' ! -name Module.symvers ! -name modules.order -print0 |
        xargs -0 cp --parents -t "$tree/modules/usr/src/gpon-flow-1"
}

verdict() {
    pack tool && pack modules && bash "$check" "$tree/tool.deb" "$tree/modules.deb"
}

fresh_packages
passes "packages with everything" verdict

: | file tool/usr/bin/gponflow
fails "an empty tool" "has no usr/bin/gponflow" verdict

fresh_packages
control tool libc6
fails "a library that no package brings" "without libpcap0.8" verdict

fresh_packages
rm "$tree/modules/usr/src/gpon-flow-1/src/core/hook.cpp"
fails "a source left out" "src/core/hook.cpp" verdict

fresh_packages
echo x | file modules/usr/src/gpon-flow-1/gpon_flow.ko
fails "a module built elsewhere" "gpon_flow.ko" verdict

fresh_packages
rm "$tree/modules/usr/lib/tmpfiles.d/gpon-flow-dkms.conf"
fails "a device node that nobody makes" "tmpfiles.d" verdict

exit "$proofs_failed"
