# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-man-page.py

# A tool with one subcommand and one of its own.
fresh_tree
file tool <<'END'
#!/bin/sh
case "$*" in
completion)
    echo "    'gponflow') words='run --help --version ' ;;"
    echo "    'gponflow run') words='fast --help --output ' ;;"
    echo "    'gponflow run fast') words='--help --dry-run --just-fits-the-text ' ;;"
    ;;
--version) echo 'gponflow 1' ;;
--help)
    printf '%s\n' 'Does things.' 'Usage: gponflow [OPTIONS] SUBCOMMAND' '' 'Options:' \
        '  -h,--help                   Help' '  --version                   Version' '' \
        'Subcommands:' '  run                         Run' '' \
        'Example:' '  gponflow run' '' 'Exit status:' '  0  done'
    ;;
'run --help')
    printf '%s\n' 'Run' 'Usage: gponflow run [OPTIONS] SUBCOMMAND' '' 'Options:' \
        '  -h,--help                   Help' '  -o,--output FILE            Where. The default is -.' '' \
        'Subcommands:' '  fast                        Run fast' '' \
        'Examples:' '  gponflow run \' '    -o x' '' '.text behind'
    ;;
'run fast --help')
    printf '%s\n' 'Run fast' 'Usage: gponflow run fast [OPTIONS] WHERE' '' 'Positionals:' \
        '  WHERE ...                   There. One of here.' '' 'Options:' \
        '  -h,--help                   Help' \
        '  --dry-run-or-the-longest-of-all-names' '                              Do nothing' \
        '  --dry-run                   Do nothing' \
        '  --just-fits-the-text NUMBER Text. Needs X.' \
        '  --kind a|b                  Kind. Not together with --x, --y.'
    ;;
*) exit 9 ;;
esac
END
chmod +x "$tree/tool"
mkdir "$tree/pages" "$tree/less" "$tree/gap"
python3 scripts/man-page.py "$tree/tool" "$tree/pages"
passes "pages with everything" python3 "$check" "$tree/tool" "$tree/pages"

page=$tree/pages/gponflow-run.1
if ! grep -qx 'gponflow run \\e' "$page" || ! grep -qxF '\&.text behind' "$page"; then
    echo "what roff would take for its own is escaped"
    proofs_failed=1
fi

# What a reader finds instead of the notation of the option library.
sed 's/\\-/-/g; s/\\f[BIR]//g' "$page" | file plain
for entry in '-o, --output FILE|Where. The default is -.' 'WHERE ...|There. One of here.' \
    '--just-fits-the-text NUMBER|Text. Needs X.' '--kind a|b|Kind. Not together with --x, --y.'; do
    if ! grep -xF -A1 -e "${entry%|*}" "$tree/plain" | grep -qxF -e "${entry##*|}"; then
        echo "no entry $entry"
        proofs_failed=1
    fi
done

for one in gponflow gponflow-run; do
    if ! sed -n '/^\.SH EXIT STATUS$/,$p' "$tree/pages/$one.1" | grep -qxF '0  done'; then
        echo "$one.1 has no section about the exit status"
        proofs_failed=1
    fi
done
sed 's/Exit status/Outcome/' "$tree/tool" | file silent
chmod +x "$tree/silent"
fails "a tool without exit statuses" "does not list the exit status" \
    python3 scripts/man-page.py "$tree/silent" "$tree/less"

cp "$tree/pages/"* "$tree/less"
sed -i '/dry.-run.fR$/,+1d' "$tree/less/gponflow-run.1"
fails "a page without an option" "gponflow run fast has --dry-run" \
    python3 "$check" "$tree/tool" "$tree/less"
cp "$tree/pages/"* "$tree/less"
sed -i '/just.-fits/{n;s/.*/.TP/}' "$tree/less/gponflow-run.1"
fails "an option without a text" "gponflow run fast has --just-fits" \
    python3 "$check" "$tree/tool" "$tree/less"
for notation in 'TEXT' 'KIND:{a,b}' 'FILE REQUIRED' 'FILE Needs: --x' 'FILE=-'; do
    cp "$tree/pages/"* "$tree/less"
    sed -i "s/^\(.*just.-fits\).*/\1 $notation/" "$tree/less/gponflow-run.1"
    fails "the notation $notation" "has the notation of the library: --just-fits $notation" \
        python3 "$check" "$tree/tool" "$tree/less"
done
cp "$tree/pages/"* "$tree/gap"
sed -i 's/^\.SS gponflow run fast/.SS fast/' "$tree/gap/gponflow-run.1"
fails "a page without a subcommand" "no section for gponflow run fast" \
    python3 "$check" "$tree/tool" "$tree/gap"
sed -i '/^\.SH DESCRIPTION$/,+1d' "$tree/gap/gponflow-run.1"
fails "a page without a section" "gponflow-run.1 has no DESCRIPTION" \
    python3 "$check" "$tree/tool" "$tree/gap"
rm "$tree/gap/gponflow-run.1"
fails "a command without a page" "no page gponflow-run.1" python3 "$check" "$tree/tool" "$tree/gap"
fails "a tool that completes nothing" "completes no subcommand" python3 "$check" true "$tree/pages"
fails "a tool without a help" "status" python3 scripts/man-page.py false "$tree/less"

exit "$proofs_failed"
