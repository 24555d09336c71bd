# SPDX-License-Identifier: GPL-2.0-only
# build the Debian packages (tool; module sources for DKMS) into build/packages
set -eu
. scripts/log.sh
. scripts/packages.sh

packages=$GPON_BUILD_DIR/packages
sources=(Kbuild CMakeLists.txt cmake src softonu tool
    scripts/man-page.py docs scenarios captures)

project_version() {
    sed -n 's/^project(gpon_flow VERSION \([^ ]*\) .*/\1/p' CMakeLists.txt
}

package_version() {
    dpkg-parsechangelog -l packaging/debian/changelog -S Version
}

# FOLDER: makes a source package, without products of a kernel's build beside the sources.
stage() {
    rm -rf "$1"
    mkdir -p "$1"
    cp -r packaging/debian packaging/dkms.conf "$1"
    find "${sources[@]}" -type f ! -name '*.o' ! -name '*.ko' ! -name '*.mod*' ! -name '.*' \
        ! -name Module.symvers ! -name modules.order -print0 | xargs -0 cp --parents -t "$1"
}

build_packages() (
    cd "$1"
    dpkg-buildpackage --build=binary --no-sign
)

need package build
version=$(package_version)
if [ "$(project_version)" != "$version" ]; then
    echo "package: packaging/debian/changelog has version $version, CMakeLists.txt" \
        "$(project_version)" >&2
    exit 1
fi
staged=$packages/gpon-flow-$version
built=("$packages/gponflow_${version}_$(dpkg --print-architecture).deb"
    "$packages/gpon-flow-dkms_${version}_all.deb")
stage "$staged"
rm -f "$packages"/*.deb
step package build_packages "$staged"
step contents bash scripts/check-packages.sh "${built[@]}"
step lintian lintian --allow-root --fail-on error,warning --tag-display-limit 0 "${built[@]}"
printf '%s\n' "${built[@]}"
