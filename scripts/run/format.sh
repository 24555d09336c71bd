# SPDX-License-Identifier: GPL-2.0-only
# [FILE...] format the given C++ sources, or all, with clang-format
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/sources.sh

need format
if [ $# = 0 ]; then
    mapfile -t files < <(cpp_sources_to_format)
    set -- "${files[@]}"
fi
clang-format -i "$@"
