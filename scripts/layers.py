# SPDX-License-Identifier: GPL-2.0-only
"""The layers of the core, as src/layers.txt lists them."""


class Layers:
    def __init__(self, root):
        self.paths = []  # (path below src, rank)
        with open(f"{root}/src/layers.txt", encoding="utf-8") as file:
            lines = [line for line in file if not line.startswith("#")]
        for rank, line in enumerate(lines):
            self.paths += [(path, rank) for path in line.split()]

    def rank_of(self, file):
        """Return the layer of a file below src/, None outside of the layers.

        The longest matching path counts.
        """
        matches = [(len(path), rank) for path, rank in self.paths if holds(path, file)]
        return max(matches)[1] if matches else None


def holds(path, file):
    if path.endswith("/"):
        return file.startswith(f"src/{path}")
    return file.startswith(f"src/{path}.")
