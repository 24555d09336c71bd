# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Commands of a build with ninja, to make its objects and programs in another form. FOLDER is the build's.

# command_of FOLDER OUTPUT: the line that makes it.
command_of() {
    ninja -C "$1" -t commands "$2" | tail -n 1
}

# compile_command FOLDER OBJECT OUTPUT: the line that makes OBJECT, for another file.
compile_command() {
    local line
    line=$(command_of "$1" "$2")
    line=${line//"-o $2"/"-o $3"}
    echo "${line//"-MF $2.d"/"-MF $3.d"}"
}

# link_command FOLDER PROGRAM OUTPUT OBJECT...: the line that links PROGRAM, for another file, with the
# objects before its archives. The command after the link lists the test cases of a program; it is left out.
link_command() {
    local line
    line=$(command_of "$1" "$2")
    line=${line//" -o $2 "/" -o $3 ${*:4} "}
    echo "${line%%" && cd "*}"
}

# run_command FOLDER LINE: a link's line starts with a command that does nothing.
run_command() {
    (cd "$1" && eval "${2#": && "}")
}

# target_of FOLDER RULE PATTERN: the first output of this rule whose last part matches.
target_of() {
    ninja -C "$1" -t targets all | sed -nE "s#^((.*/)?($3)): $2.*#\1#p" | head -n 1
}
