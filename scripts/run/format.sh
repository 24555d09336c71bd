# SPDX-License-Identifier: GPL-2.0-only
# [FILE...] lay out these, or all, C++ sources as .clang-format says
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
