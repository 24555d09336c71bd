#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Check that each declaration is in the header of the source that defines it.

usage: check-headers.py ROOT OBJECT...

A source has a header of its own or none: each function, member function and variable that
FOLDER/NAME.h declares is defined in FOLDER/NAME.cpp. A declaration of the core that is marked with
GPON_DEFINED_IN(FOLDER) is defined in that folder.

The core's definitions come from the objects, which are named after their sources
(.../src/FOLDER/FILE.cpp.o), through nm (NM). The headers of platform/api declare what a platform
defines, and nothing of the core: API_EXCEPTIONS are those through which a platform calls it.

The definitions of the tool are read from its sources, several of which may be compiled into one
object. TOOL_EXCEPTIONS are headers of the tool that declare what several sources define.

Sources and headers are read without a preprocessor: a declaration that a macro makes is not seen.
"""

import glob
import os
import re
import subprocess
import sys

TOOL_EXCEPTIONS = {
    "tool/commands/commands.h": "one function for each subcommand, which main.cpp calls",
    "tool/check/families.h": "one function for each family of rules, which check.cpp calls",
    "tool/report/page_parts.h": "texts that the build generates from page.html, .css and .js",
}

API_EXCEPTIONS = {
    "src/platform/api/module_entry.h": "entry points that a platform calls by their names",
    "src/platform/api/observe.h": "records of the module, for a platform's read side",
}

SYMBOL = re.compile(r"(.*?): (.*) [TDBRGS] [0-9a-f]+")
# A comment, a text or a character.
LITERAL = re.compile(r"""/\*.*?\*/|//[^\n]*|("(?:\\.|[^"\\])*")|('(?:\\.|[^'\\])*')""", re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.MULTILINE)
# Attributes that may be between "class" and its name, or before it.
DECORATION = re.compile(r'\balignas\s*\([^()]*(?:\([^()]*\))?[^()]*\)|\[\[.*?\]\]|'
                        r'\bGPON_\w+\s*\(\s*""\s*\)', re.DOTALL)
CLASS = re.compile(r"\b(?:struct|class|union)\s+(?:[A-Z_]+\s+)*(\w+)")
ATTRIBUTE = re.compile(r"\[\[.*?\]\]|\b(?:alignas|decltype|__attribute__|__asm__) ?"
                       r"\((?:[^()]|\([^()]*\))*\)")
UNNAMED = "(unnamed)"
# No pointer to a function: there the first parenthesis is followed by an asterisk.
FUNCTION = re.compile(r"[^=(]*?((?:\w+::)*(?:operator ?[^\w\s(]+|operator [\w:]+|~?\w+)) ?"
                      r"\((?! ?\*)")
VARIABLE = re.compile(r"[^=(]*?(\w+)(?: ?\[[^\]]*\])* ?(?:=.*)?")
FUNCTION_POINTER = re.compile(r"\( ?\* ?(?:const )?(\w+) ?\)")


def definitions_in(objects):
    """Return the sources that define each strong symbol, by its name without parameters."""
    run = subprocess.run([os.environ.get("NM", "nm"), *"-A -C -P -g --defined-only".split(),
                          *objects], stdout=subprocess.PIPE, text=True, check=True)
    sources = {}
    for line in run.stdout.splitlines():
        match = SYMBOL.match(line)
        if not match:
            continue
        source = re.search(r".*/(src/.*)\.o$", match[1])
        if not source:
            sys.exit(f"check-headers: {match[1]} is named after no source")
        sources.setdefault(match[2].partition("(")[0], set()).add(source[1])
    return sources


def bare_text(path):
    """Return a header without comments, texts and preprocessor lines."""
    with open(path, encoding="utf-8") as file:
        text = file.read()
    text = LITERAL.sub(lambda match: '""' if match[1] else "0" if match[2] else " ", text)
    return DIRECTIVE.sub("", text)


def scope_of(head):
    """Return the scope that an opening brace begins, "" for one without a name.

    None is a brace whose contents are not visible outside of it.
    """
    if re.search(r'extern\s*""\s*$', head):
        return ""
    if match := re.search(r"\bnamespace\s*([\w:]*)\s*$", head):
        return match[1] or UNNAMED
    head = DECORATION.sub("", head)
    head = re.sub(r"^\s*template\s*<[^<>]*>", "", head)
    if re.search(r"\benum\b|\(", head):
        return None
    match = CLASS.search(head)
    return match[1] if match else None


def variables_of(statement):
    """Return the names of the variables that a statement declares at namespace scope."""
    if not statement.startswith("extern "):
        return []
    if match := FUNCTION_POINTER.search(statement):
        return [match[1]]
    statement = re.sub(r"\bGPON_[A-Z_]+ ?\([^()]*\)|\[[^\]]*\]", "", statement)
    return [re.search(r"(\w+)\W*$", part)[1] for part in statement.split(",")]


def without_arguments(statement):
    """Return a statement without template arguments, which may have parentheses."""
    while (shorter := re.sub(r"<[^<>]*>", "", statement)) != statement:
        statement = shorter
    return statement


def declared(statement):
    """Return (name, folder of its mark) for each name that a statement only declares."""
    statement = re.sub(r"\s+", " ", statement)
    statement = re.sub(r"^(?: |(?:public|protected|private) ?:)+", "", statement)
    mark = ""
    if match := re.match(r"GPON_DEFINED_IN\((\w+)\) ", statement):
        mark = match[1]
        statement = statement[match.end():]
    if re.match(r"(?:using|typedef|friend|enum|template|static_assert)\b", statement):
        return []
    if re.search(r"= ?(?:default|delete)\b|= ?0 ?$", statement):
        return []
    if re.search(r"\b(?:constexpr|consteval|constinit)\b", statement):
        return []
    statement = without_arguments(ATTRIBUTE.sub("", statement))
    statement = re.sub(r'^extern "" ', "extern ", statement)
    match = FUNCTION.match(statement)
    if match and not re.fullmatch(r"GPON_[A-Z_]+", match[1]):
        return [(match[1], mark)]
    return [(name, mark) for name in variables_of(statement)]


def statements_of(path):
    """Yield (scopes, statement, whether it is the head of a function's body) for each statement.

    The contents of braces that are not visible outside are left out.
    """
    statement, scopes, skipped = "", [], 0
    for token in re.findall(r"[{};]|[^{};]+", bare_text(path)):
        if skipped:
            skipped += {"{": 1, "}": -1}.get(token, 0)
        elif token == "{":
            scope = scope_of(statement)
            if scope is not None:
                scopes.append(scope)
                statement = ""
            else:
                skipped = 1
                # A function that is defined here ends; any other statement continues.
                if "(" in statement and not re.search(r"=\s*$", statement):
                    yield [scope for scope in scopes if scope], statement, True
                    statement = ""
        elif token == "}":
            if not scopes:
                sys.exit(f"check-headers: {path}: the braces do not match")
            scopes.pop()
            statement = ""
        elif token == ";":
            yield [scope for scope in scopes if scope], statement, False
            statement = ""
        else:
            statement += token
    if scopes or skipped:
        sys.exit(f"check-headers: {path}: the braces do not match")


def declarations_of(path):
    """Yield (name with its scopes, name, mark) for each declaration of a header."""
    for scopes, statement, has_body in statements_of(path):
        for name, mark in [] if has_body else declared(statement):
            yield "::".join([*scopes, name]), name, mark


def tool_definitions(root):
    """Return the sources of the tool that define each function and variable, by its full name."""
    sources = {}
    for path in glob.glob(f"{root}/tool/**/*.cpp", recursive=True):
        for scopes, statement, has_body in statements_of(path):
            statement = without_arguments(ATTRIBUTE.sub("", re.sub(r"\s+", " ", statement)))
            has_body |= statement.endswith("= default")
            match = FUNCTION.match(statement) if has_body else VARIABLE.fullmatch(statement)
            if match and UNNAMED not in scopes:
                name = "::".join([*scopes, match[1]])
                sources.setdefault(name, set()).add(os.path.relpath(path, root))
    return sources


def api_faults_of(header, declaration, sources):
    qualified, name, mark = declaration
    for source in sorted(sources.get(qualified) or sources.get(name) or ()):
        yield f"{header} declares {qualified}, which {source} defines"


def faults_of(header, declaration, sources):
    qualified, name, mark = declaration
    # A function with C linkage has its bare name, whatever namespace declares it.
    definers = sorted(sources.get(qualified) or sources.get(name) or ())
    if not definers:
        yield f"{header} declares {qualified}, which no source defines"
    own = header.removesuffix("h") + "cpp"
    # Functions of the tool may have overloads in other sources.
    if header.startswith("tool/") and own in definers:
        return
    for source in definers:
        if mark and not source.startswith(f"src/{mark}/"):
            yield f"{header} marks {name}, which {source} defines"
        if not mark and source != own:
            yield f"{header} declares {qualified}, which {source} defines"


def faults_of_headers(root, headers, sources, exceptions, faults_in=faults_of):
    """Return the number of declarations in the headers, and the faults among them."""
    count = 0
    faults = [f"{header} is no exception any more" for header in exceptions
              if headers and f"{root}/{header}" not in headers]
    for path in sorted(headers):
        header = os.path.relpath(path, root)
        declarations = list(declarations_of(path))
        count += len(declarations)
        found = [fault for one in declarations for fault in faults_in(header, one, sources)]
        if header not in exceptions:
            faults += found
        elif not found:
            faults.append(f"{header} is no exception any more")
    return count, faults


def main(root, *objects):
    core = definitions_in(objects)
    count, faults = faults_of_headers(root, glob.glob(f"{root}/src/*/*.h"), core, {})
    if not count:
        faults.append(f"no declaration found below {root}/src")
    api_count, api_faults = faults_of_headers(root, glob.glob(f"{root}/src/platform/api/*.h"), core,
                                              API_EXCEPTIONS, api_faults_of)
    tool_headers = glob.glob(f"{root}/tool/**/*.h", recursive=True)
    tool_count, tool_faults = faults_of_headers(root, tool_headers, tool_definitions(root),
                                                TOOL_EXCEPTIONS)
    faults += api_faults + tool_faults
    for fault in faults:
        print(f"check-headers: {fault}", file=sys.stderr)
    print(f"{count + api_count + tool_count} declarations")
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit("usage: check-headers.py ROOT OBJECT...")
    sys.exit(main(*sys.argv[1:]))
