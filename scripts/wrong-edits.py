#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""usage: wrong-edits.py [--count N] [--seed N] FILE...

Prints wrong edits of C and C++ sources for "./run mutate --edits": operators, constants,
conditions, and statements that are left out or swapped. A seed selects the same edits of the same
sources. Comments, texts, directives and declarations are not edited. An edit begins with as many
unchanged lines as make it unique in its file.
"""
import argparse
import random
import re

OPERATORS = {
    "==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "++": "--", "--": "++",
    "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=",
}
# Between blanks, so that neither a pointer, a reference nor a template's bracket is one.
BINARY = re.compile(r"(?<= )(==|!=|<=|>=|&&|\|\||<<|>>|\+=|-=|\|=|&=|[-<>+&|])(?= )")
STEP = re.compile(r"\+\+|--")
NUMBER = re.compile(r"(?<![\w.\"'])(0x[0-9a-fA-F]+|\d+)(?=[uU]?[lL]*\b)")
CONDITION = re.compile(r"^(\s*(?:\} else )?if )\((.*)\)( \{)?$")
DECLARATION = (r"return|else|case|goto|using|namespace|static_assert|friend|const |constexpr |"
               r"static |struct |auto |extern |u8 |u16 |u32 |u64 |i32 |bool |char |int |unsigned |"
               r"size_t |void |gpon_\w+\*? \w+( =|;|\()|\}")
STATEMENT = re.compile(rf"^(\s+)(?!{DECLARATION})[\w>*(+-].*;$")
UNWANTED = re.compile(r"^\s*(#|//|/\*|\*|static_assert|template|using |extern |MODULE_)")


def code_lines(text):
    """Yield the number and text of each line that is code, comments at its end removed."""
    inside = False
    for number, line in enumerate(text.split("\n")):
        comment = inside
        if "/*" in line:
            inside = "*/" not in line.split("/*", 1)[1]
        elif "*/" in line:
            inside = False
        if comment or not line.strip() or UNWANTED.match(line):
            continue
        yield number, re.sub(r"\s*(//.*|/\*.*\*/)$", "", line)


def outside_texts(line, match):
    """Whether a match is outside of quotation marks."""
    return line[:match.start()].count('"') % 2 == 0


def replaced(line, match, new):
    return line[:match.start()] + new + line[match.end():]


def other_number(digits):
    octal = len(digits) > 1 and digits.isdigit() and digits[0] == "0"
    value = int(digits, 8 if octal else 0)
    new = 0 if value == 1 else value + 1
    if octal:
        return f"0{new:o}"
    return f"{new:#x}" if digits.startswith("0x") else str(new)


def edits_of_line(line):
    """Yield the kind and the new text of each edit within a line."""
    if "operator" in line:
        return
    for match in BINARY.finditer(line):
        if outside_texts(line, match):
            yield "operator", replaced(line, match, OPERATORS[match.group()])
    for match in STEP.finditer(line):
        if outside_texts(line, match):
            yield "operator", replaced(line, match, OPERATORS[match.group()])
    for match in NUMBER.finditer(line):
        if outside_texts(line, match):
            yield "constant", replaced(line, match, other_number(match.group(1)))
    match = CONDITION.match(line)
    if match and ";" not in match.group(2):
        yield "condition", f"{match.group(1)}(!({match.group(2)})){match.group(3) or ''}"
    if STATEMENT.match(line):
        yield "left-out", None


def is_whole_statement(lines, number):
    """Whether a line of its own is a statement between two lines that end one."""
    before = lines[number - 1].rstrip()
    return bool(STATEMENT.match(lines[number])) and before.endswith((";", "{", "}"))


def candidates(file):
    """Return all edits of a file: (line number, kind, old text, new text)."""
    with open(file, encoding="utf-8") as source:
        text = source.read()
    lines = text.split("\n")
    found = []
    for number, line in code_lines(text):
        for kind, new in edits_of_line(line):
            if new is not None:
                # What follows the code of the line stays.
                found.append((number, kind, [lines[number]], [new + lines[number][len(line):]]))
            elif is_whole_statement(lines, number):
                found.append((number, kind, [lines[number]], [""]))
        if number + 1 < len(lines) and is_whole_statement(lines, number) and \
                is_whole_statement(lines, number + 1):
            pair = lines[number:number + 2]
            if re.match(r"\s*", pair[0]).group() == re.match(r"\s*", pair[1]).group():
                found.append((number, "swapped", pair, pair[::-1]))
    return [unique(text, lines, each) for each in found if each[2] != each[3]]


def unique(text, lines, edit):
    """Return the edit with as many lines before it as make its text unique in the file."""
    number, kind, old, new = edit
    first = number
    while text.count("\n".join(lines[first:number] + old)) != 1 and first > 0:
        first -= 1
    context = lines[first:number]
    return number + 1, kind, "\n".join(context + old), "\n".join(context + new)


def escaped(text):
    return text.replace("\\", "\\\\").replace("\n", "\\n").replace("\t", "\\t")


def how_noticed(file):
    if file.endswith("platform/linux/memory.c"):
        return "by:   glue\n"
    return "by:   guest\n" if file.endswith(".c") else ""


def main():
    parser = argparse.ArgumentParser(description="Print wrong edits of sources.")
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("files", nargs="+")
    options = parser.parse_args()
    every = [(file, *edit) for file in sorted(options.files) for edit in candidates(file)]
    chosen = random.Random(options.seed).sample(every, min(options.count, len(every)))
    used = {}
    for file, line, kind, old, new in sorted(chosen):
        stem = file.rsplit("/", 1)[1].split(".")[0].replace("_", "-")
        name = f"{stem}-{line}-{kind}"
        used[name] = used.get(name, 0) + 1
        if used[name] > 1:
            name += f"-{used[name]}"
        wrong = f"to:   {escaped(new)}".rstrip()
        print(f"name: {name}\nfile: {file}\nfrom: {escaped(old)}\n{wrong}\n{how_noticed(file)}")


if __name__ == "__main__":
    main()
