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
    echo "    'gponflow run fast') words='--help --dry-run ' ;;"
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
        '  -h,--help                   Help' '  -o,--output TEXT=-          Where' '' \
        'Subcommands:' '  fast                        Run fast' '' \
        'Examples:' '  gponflow run \' '    -o x' '' '.text behind'
    ;;
'run fast --help')
    printf '%s\n' 'Run fast' 'Usage: gponflow run fast [OPTIONS] WHERE' '' 'Positionals:' \
        '  WHERE TEXT:{here} REQUIRED' '                              There' '' 'Options:' \
        '  -h,--help                   Help' \
        '  --dry-run-or-the-longest-of-all-names' '                              Do nothing' \
        '  --dry-run                   Do nothing'
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
sed -i '/dry.-run$/,+1d' "$tree/less/gponflow-run.1"
fails "a page without an option" "gponflow run fast has --dry-run" \
    python3 "$check" "$tree/tool" "$tree/less"
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
