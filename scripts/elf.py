# SPDX-License-Identifier: Apache-2.0
"""Reads what the loader reads of a program or a shared object."""

import pathlib
import struct
from typing import NamedTuple

# elf.h
PT_LOAD, PT_DYNAMIC = 1, 2
DT_NEEDED, DT_STRTAB, DT_SYMTAB, DT_VERSYM = 1, 5, 6, 0x6ffffff0
STB_GLOBAL, STT_FUNC = 1, 2


class Symbol(NamedTuple):
    """A name that the file gives, or takes when it has no address."""

    name: str
    address: int
    is_function: bool
    is_weak: bool
    is_versioned: bool


class Elf:
    """A little-endian file of either class."""

    def __init__(self, path):
        self.data = pathlib.Path(path).read_bytes()
        if self.data[:4] != b"\x7fELF" or self.data[5] != 1:
            raise ValueError(f"{path} is no little-endian ELF file")
        self.wide = self.data[4] == 2
        self.machine, = self._read("H", 18)
        self.segments = list(self._segments())
        self._entries = list(self._dynamic())
        self.dynamic = dict(self._entries)

    def _read(self, kinds, at):
        return struct.unpack_from("<" + kinds, self.data, at)

    def _segments(self):
        """(type, flags, offset, address, size in the file) of each."""
        start, = self._read(*(("Q", 32) if self.wide else ("I", 28)))
        size, count = self._read("HH", 54 if self.wide else 42)
        for at in range(start, start + size * count, size):
            if self.wide:
                kind, flags, offset, address, _, length = self._read("2I4Q",
                                                                     at)
            else:
                kind, offset, address, _, length, _, flags = self._read("7I",
                                                                        at)
            yield kind, flags, offset, address, length

    def of_type(self, kind):
        """The segments of a type."""
        return [segment for segment in self.segments if segment[0] == kind]

    def _dynamic(self):
        (_, _, offset, _, length), = self.of_type(PT_DYNAMIC)
        pair = "<qQ" if self.wide else "<iI"
        return struct.iter_unpack(pair, self.data[offset:offset + length])

    def offset(self, address):
        """Where the byte at an address is in the file."""
        return next(address - start + offset
                    for _, _, offset, start, length in self.of_type(PT_LOAD)
                    if start <= address < start + length)

    def _text(self, name):
        start = self.offset(self.dynamic[DT_STRTAB]) + name
        return self.data[start:self.data.index(b"\0", start)].decode()

    def libraries(self):
        """The names of the libraries that it needs itself."""
        return [self._text(value) for tag, value in self._entries
                if tag == DT_NEEDED]

    def symbols(self):
        """All of them, in their order."""
        table, names = (self.offset(self.dynamic[tag])
                        for tag in (DT_SYMTAB, DT_STRTAB))
        size = 24 if self.wide else 16
        # The linker puts the names right behind the table.
        for index, at in enumerate(range(table, names - size + 1, size)):
            if self.wide:
                name, info, _, _, address = self._read("IBBHQ", at)
            else:
                name, address, _, info = self._read("3IB", at)
            yield Symbol(self._text(name), address, info & 15 == STT_FUNC,
                         info >> 4 != STB_GLOBAL, self._version(index) > 1)

    def _version(self, index):
        """Of a symbol: 0 and 1 are none."""
        if DT_VERSYM not in self.dynamic:
            return 0
        version, = self._read("H", self.offset(self.dynamic[DT_VERSYM]) +
                              2 * index)
        return version & 0x7fff
