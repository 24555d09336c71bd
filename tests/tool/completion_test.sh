#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: completion_test.sh GPONFLOW
#
# The completions for bash, zsh and fish offer the words of the tool at their places, and files where
# an argument is a file.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"
mkdir bin
ln -s "$tool" bin/gponflow
PATH=$PWD/bin:$PATH
gponflow completion >gponflow.bash
gponflow completion zsh >_gponflow
gponflow completion fish >gponflow.fish
touch 'a file.scn' x.scn

# The functions below read lines of words, separated by tabs; the last word is being typed. They print
# what is offered for a line, a candidate a line, and an empty line. The builtins of the completion
# system that work only while a user types are replaced.
bash_offers() {
    # shellcheck disable=SC2016 # of the other shell
    bash --norc -c 'compopt() { :; }
        . ./gponflow.bash
        while IFS= read -r line; do
            readarray -td "	" COMP_WORDS < <(printf "gponflow\t%s" "$line")
            [[ -n $line && $line != *"	" ]] || COMP_WORDS+=("")
            COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
            COMPREPLY=()
            _gponflow
            printf "%s\n" "${COMPREPLY[@]}" ""
        done' 2>&1
}

zsh_offers() {
    # shellcheck disable=SC2016 # of the other shell
    zsh -f -c 'compadd() { shift; (( $# == 0 )) || print -l -- "$@"; }
        _files() { print -l -- *; }
        compdef() { :; }
        . ./_gponflow
        while IFS= read -r line; do
            words=(gponflow "${(@ps:\t:)line}")
            CURRENT=$#words
            _gponflow
            print
        done' 2>&1
}

fish_offers() {
    # shellcheck disable=SC2016 # of the other shell
    HOME=$PWD fish --no-config -c 'source gponflow.fish
        while read -l line
            complete -C "gponflow "(string replace -a \t " " -- $line) | string replace -r "\t.*" ""
            echo
        end' 2>&1
}

# WORD...: a line for the functions above.
line_of() {
    local IFS=$'\t'
    printf '%s\n' "$*"
}

# SHELL WANTED WORD...
offers() {
    local shell=$1 wanted=$2
    shift 2
    line_of "$@" | "${shell}_offers" >offered || true
    grep -qxF -- "$wanted" offered || complain "$shell: gponflow $*: '$wanted' is not offered"
}

offers_not() {
    local shell=$1 unwanted=$2
    shift 2
    line_of "$@" | "${shell}_offers" >offered || true
    if grep -qxF -- "$unwanted" offered; then
        complain "$shell: gponflow $*: '$unwanted' is offered"
    fi
}

for shell in bash zsh fish; do
    command -v "$shell" >/dev/null || complain "$shell is not installed"
    offers "$shell" explain ''
    offers "$shell" show sh
    offers "$shell" rules show ''
    offers "$shell" --uni explain --
    offers "$shell" --json show rules --j
    offers "$shell" --class show me --
    offers "$shell" GEM_PORT_CTP show me --class ''
    offers "$shell" GEM_PORT_CTP clean me GEM
    offers "$shell" UP_ANI show rules --direction ''
    offers "$shell" host run --backend ''
    offers "$shell" on set enable ''
    offers "$shell" errors set debug-level e
    offers "$shell" src_mac= set trace s
    offers "$shell" off set trace ''
    offers_not "$shell" off trace ''
    offers "$shell" zsh completion ''
    offers "$shell" --dry-run set trace off --d
    offers_not "$shell" rules explain ''
    offers "$shell" x.scn omci --diff ''
    offers "$shell" x.scn omci --diff x.scn ''
    offers_not "$shell" x.scn check --
done
# What readline makes of --name=value, and of a file with a blank.
offers bash host run --backend = h
offers bash device run --backend =
offers bash src_mac= set trace dst_mac = 02:00:00:00:00:01 s
offers bash x.scn report --pcap = x
offers bash 'a file.scn' check a

gponflow --help >help
while read -r word; do
    offers bash "$word" ''
done < <(sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\) .*/\1/p' help)

# Each level and each option that takes a value: a file is offered exactly if it is one.
gponflow completion --json >tree
python3 - tree <<'PYTHON' >levels
import json
import sys


def levels(node, path):
    names = [one["name"].split(",") for one in node["options"]]
    files = [one["takes_file"] for one in node["options"]]
    argument = any(file for name, file in zip(names, files) if not name[0].startswith("-"))
    print(argument, *path, "", sep="\t")
    for name, file, option in zip(names, files, node["options"]):
        for flag in name if option["takes_value"] else []:
            if flag.startswith("-"):
                print(file, *path, flag, "", sep="\t")
    for sub in node["subcommands"]:
        levels(sub, path + [sub["name"]])


with open(sys.argv[1], encoding="utf-8") as tree:
    levels(json.load(tree)["command"], [])
PYTHON
[ "$(grep -c ^True levels)" -gt 15 ] || complain 'few places take a file'
[ "$(grep -c ^False levels)" -gt 15 ] || complain 'few places take no file'
for shell in bash zsh fish; do
    cut -f 2- levels | "${shell}_offers" | awk '
        /^$/ { print found ? "True" : "False"; found = 0 }
        $0 == "x.scn" { found = 1 }' >found
    cut -f 1 levels | diff - found >difference || {
        complain "$shell: files are offered where they are not taken, or not where they are"
        paste levels found | awk -F'\t' '$1 != $NF' | head -n 5
    }
done

exit "$failed"
