#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tells the linker what the tool must export: exactly what its module takes.

  exports.py MODULE FILE PREFIX...

Writes the words for the linker to FILE, for all names with one of the prefixes
that the module takes and no library gives it. What the tool lacks fails its
link, not an attestation.
"""

import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] /
                       "scripts"))

import elf  # noqa: E402  (the path above leads to it)


def exports(module, prefixes):
    """The names that a module expects of the tool."""
    return [symbol.name for symbol in elf.Elf(module).symbols()
            # A library's symbol has the version that the library gave it.
            if symbol.address == 0 and not symbol.is_weak
            and not symbol.is_versioned and symbol.name.startswith(prefixes)]


if __name__ == "__main__":
    pathlib.Path(sys.argv[2]).write_text("".join(
        f"-Wl,--export-dynamic-symbol={name},--require-defined={name}\n"
        for name in exports(sys.argv[1], tuple(sys.argv[3:]))))
