#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Check the includes of the core.

usage: check-layers.py ROOT

The core is layered, and a file includes only its own layer and lower ones. From the standard
library it includes only headers that need no library at run time. The glue of the kernel includes
the declarations of platform/api and its own headers, nothing of the core or of a platform.
"""

import glob
import os
import re
import sys

from layers import Layers

FREESTANDING = {
    "cstdint", "cstddef", "bit", "span", "array", "type_traits", "concepts", "new",
    "utility", "limits", "compare", "initializer_list",
    "stdint.h", "stddef.h", "stdarg.h",
}
# The user-space header includes this one when a kernel includes it.
KERNEL_HEADER = "linux/types.h"
USER_SPACE_HEADER = "src/include/uapi/gpon_flow.h"
GLUE = "src/platform/linux/"
OUTSIDE = (GLUE, "src/platform/host/")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)


def system_fault(file, header):
    if header in FREESTANDING:
        return None
    if header == KERNEL_HEADER:
        return None if file == USER_SPACE_HEADER else f"{file} includes the kernel's <{header}>"
    return f"{file} includes <{header}>, which is not freestanding"


def own_fault(file, header, layers):
    path = os.path.normpath(os.path.join(os.path.dirname(file), header))
    if not os.path.isfile(path):
        path = header
    if not os.path.isfile(path):
        return f'{file} includes "{header}", which is not there'
    own, rank = layers.rank_of(file), layers.rank_of(path)
    if rank is None:
        return f"{file} includes {path}, which is no part of the core"
    if own is None:
        return f"{file} is in no layer"
    return f"{file} includes {path} of a layer above its own" if rank > own else None


def glue_fault(file, header):
    path = os.path.normpath(os.path.join(os.path.dirname(file), header))
    if path.startswith((GLUE, "src/platform/api/")):
        return None
    return f"{file} includes {path}, which is outside of the platform"


def includes_of(file):
    with open(file, encoding="utf-8") as text:
        return INCLUDE.findall(text.read())


def glue_faults_of(file):
    faults = (glue_fault(file, header) for kind, header in includes_of(file) if kind == '"')
    return (fault for fault in faults if fault)


def faults_of(file, layers):
    for kind, header in includes_of(file):
        fault = system_fault(file, header) if kind == "<" else own_fault(file, header, layers)
        if fault:
            yield fault


def main(root):
    os.chdir(root)
    files = sorted(file for kind in ("h", "cpp")
                   for file in glob.glob(f"src/**/*.{kind}", recursive=True)
                   if not file.startswith(OUTSIDE))
    if not files:
        sys.exit(f"check-layers: no source of the core found in {os.getcwd()}")
    layers = Layers(".")
    faults = [fault for file in files for fault in faults_of(file, layers)]
    for file in sorted(glob.glob(f"{GLUE}*.[ch]")):
        faults += glue_faults_of(file)
    for fault in faults:
        print(f"check-layers: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: check-layers.py ROOT")
    sys.exit(main(sys.argv[1]))
