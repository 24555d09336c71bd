# SPDX-License-Identifier: GPL-2.0-only
# build the Debian package of the module's sources for DKMS, into build/packages
set -eu
. scripts/log.sh
. scripts/packages.sh

packages=$GPON_BUILD_DIR/packages
folders=(include core me me_class pkt hash debug platform/linux platform/softonu)

project_version() {
    sed -n 's/^project(gpon_flow VERSION \([^ ]*\) .*/\1/p' CMakeLists.txt
}

package_version() {
    dpkg-parsechangelog -l packaging/debian/changelog -S Version
}

# FOLDER: a source package. A kernel's build may have left its products beside the sources.
stage() {
    rm -rf "$1"
    mkdir -p "$1/module"
    cp -r packaging/debian packaging/dkms.conf "$1"
    find Kbuild platform/kernel_api.h "${folders[@]}" -type f \
        \( -name Kbuild -o -name '*.[ch]' -o -name '*.cpp' -o -name '*.mk' \) -print0 |
        xargs -0 cp --parents -t "$1/module"
}

build_package() (
    cd "$1"
    dpkg-buildpackage --build=binary --no-sign
)

need package
if [ "$(project_version)" != "$(package_version)" ]; then
    echo "package: packaging/debian/changelog says $(package_version), CMakeLists.txt" \
        "$(project_version)" >&2
    exit 1
fi
staged=$packages/gpon-flow-$(package_version)
stage "$staged"
step package build_package "$staged"
echo "$packages/gpon-flow-dkms_$(package_version)_all.deb"
