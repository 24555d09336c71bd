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
python3 scripts/man-page.py "$tree/tool" >"$tree/page"
passes "a page with everything" python3 "$check" "$tree/tool" "$tree/page"

if ! grep -qx 'gponflow run \\e' "$tree/page" || ! grep -qxF '\&.text behind' "$tree/page"; then
    echo "what roff would take for its own is escaped"
    proofs_failed=1
fi

if ! sed -n '/^\.SH EXIT STATUS$/,/^\.SH EXAMPLES$/p' "$tree/page" | grep -qxF '0  done'; then
    echo "the exit statuses have a section of their own"
    proofs_failed=1
fi
sed 's/Exit status/Outcome/' "$tree/tool" | file silent
chmod +x "$tree/silent"
fails "a tool without exit statuses" "does not list the exit status" \
    python3 scripts/man-page.py "$tree/silent"

sed '/dry.-run$/,+1d' "$tree/page" | file less
fails "a page without an option" "gponflow run fast has --dry-run" \
    python3 "$check" "$tree/tool" "$tree/less"
sed 's/^\.SS gponflow run fast/.SS fast/' "$tree/page" | file gap
fails "a page without a subcommand" "no section for gponflow run fast" \
    python3 "$check" "$tree/tool" "$tree/gap"
fails "a tool that completes nothing" "completes no subcommand" python3 "$check" true "$tree/page"
fails "a tool without a help" "status" python3 scripts/man-page.py false

exit "$proofs_failed"
