# SPDX-License-Identifier: GPL-2.0-only
"""Numbers as the measuring scripts print and store them."""

import json
import math


def rounded(number, digits=0):
    """Round half away from zero; without digits to an int."""
    factor = 10 ** digits
    result = math.copysign(math.floor(abs(number) * factor + 0.5) / factor, number)
    return int(result) if digits == 0 or result == int(result) else result


def load(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def as_json(value):
    return json.dumps(value, indent=2) + "\n"
