# SPDX-License-Identifier: GPL-2.0-only
#
# same_captures.sh PROGRAM FOLDER: PROGRAM writes the captures of FOLDER, byte for byte.
set -eu
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
"$1" "$made"
diff -r -x '*.scn' "$2" "$made"
