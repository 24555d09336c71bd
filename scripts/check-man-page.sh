#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-man-page.sh GPONFLOW PAGE
#
# Every subcommand has a section in the manual page, and the section contains every option of the
# subcommand. The names come from the tool's completion, which does not use the help texts.
set -eu
tool=$1
page=$2

levels=$("$tool" completion | sed -n "s/^ *'\\(gponflow[^']*\\)') words='\\([^']*\\)' ;;\$/\\1:\\2/p")
if [ "$(wc -l <<<"$levels")" -lt 2 ]; then
    echo "check-man-page: $tool completes no subcommand" >&2
    exit 1
fi
sed 's/\\-/-/g; s/\\&//g' "$page" | awk -v levels="$levels" '
    function complain(text) { print "check-man-page: " text; ++faults }
    /^\.SS / {
        level = ""
        for (i = 2; i <= NF && $i ~ /^[a-z][a-z-]*$/; i++) level = level (i > 2 ? " " : "") $i
    }
    /^\.SH / { level = $0 == ".SH OPTIONS" ? "gponflow" : "" }
    level != "" { text[level] = text[level] "\n" $0 " " }
    END {
        count = split(levels, lines, "\n")
        for (n = 1; n <= count; n++) {
            split(lines[n], parts, ":")
            path = parts[1]
            if (!(path in text)) { complain("no section for " path); continue }
            words = split(parts[2], options, " ")
            for (i = 1; i <= words; i++) {
                option = options[i]
                if (option !~ /^--/ || (option == "--help" && path != "gponflow")) continue
                if (text[path] !~ "\n\\.B ([^\n]*, )?" option "[ :=]") complain(path " has " option)
            }
        }
        exit faults > 0
    }'
