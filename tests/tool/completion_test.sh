#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: completion_test.sh GPONFLOW
#
# The completions for zsh and fish offer the words of the tool at their places. That of bash is part
# of command_line_test.sh.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"
mkdir bin
ln -s "$tool" bin/gponflow
PATH=$PWD/bin:$PATH
gponflow completion zsh >_gponflow
gponflow completion fish >gponflow.fish
touch a-file.scn

# WORD...: the last word is being typed. The builtins of the completion system print.
zsh_offers() {
    zsh -f -c 'compadd() { shift; print -l -- "$@"; }; _files() { print -l -- *; }
        compdef() { :; }; . ./_gponflow; words=("$@"); CURRENT=$#; _gponflow' - gponflow "$@"
}

fish_offers() {
    local line="gponflow $*"
    # shellcheck disable=SC2016 # the variable is that of fish
    HOME=$PWD fish --no-config -c 'source gponflow.fish; complete -C $argv[1]' "$line" | cut -f 1
}

# SHELL WANTED WORD...
offers() {
    local shell=$1 wanted=$2
    shift 2
    "${shell}_offers" "$@" >offered 2>&1 || true
    grep -qxF -- "$wanted" offered || complain "$shell: gponflow $*: '$wanted' is not offered"
}

offers_not() {
    local shell=$1 unwanted=$2
    shift 2
    "${shell}_offers" "$@" >offered 2>&1 || true
    if grep -qxF -- "$unwanted" offered; then
        complain "$shell: gponflow $*: '$unwanted' is offered"
    fi
}

for shell in zsh fish; do
    command -v "$shell" >/dev/null || complain "$shell is not installed"
    offers "$shell" explain ''
    offers "$shell" rules show ''
    offers "$shell" --uni explain --
    offers "$shell" --class show me --
    offers "$shell" GEM_PORT_CTP show me --class ''
    offers "$shell" host run --backend ''
    offers "$shell" on set enable ''
    offers "$shell" off set trace ''
    offers_not "$shell" off trace ''
    offers "$shell" zsh completion ''
    offers "$shell" a-file.scn check ''
    offers "$shell" a-file.scn explain --pcap ''
    offers_not "$shell" rules explain ''
done

exit "$failed"
