"""What the compiler and the linker were told, read back from the tool and from
its module: a flag that got lost on the way shows nowhere else."""

import os
import pathlib
import struct

import pytest


TOOL = pathlib.Path(os.environ["ZANTRIC"])
MODULE = TOOL.with_name("zantric-attest.so")
# elf.h
EXEC, WRITE = 1, 2
PT_LOAD, PT_DYNAMIC = 1, 2
PT_GNU_STACK, PT_GNU_RELRO = 0x6474e551, 0x6474e552
DT_STRTAB, DT_SYMTAB, DT_RPATH, DT_TEXTREL, DT_RUNPATH = 5, 6, 15, 22, 29
DT_FLAGS, DT_FLAGS_1 = 30, 0x6ffffffb
DF_TEXTREL, DF_BIND_NOW, DF_1_NOW, DF_1_PIE = 4, 8, 1, 0x08000000
STT_FUNC = 2
#: How a function begins that an indirect branch may go to, by machine.
LANDINGS = {62: (b"\xf3\x0f\x1e\xfa",),
            183: (b"\x5f\x24\x03\xd5", b"\x3f\x23\x03\xd5")}


class Elf:
    """What the loader reads of a little-endian file."""

    def __init__(self, path):
        self.data = path.read_bytes()
        assert self.data[:4] == b"\x7fELF" and self.data[5] == 1
        self.wide = self.data[4] == 2
        self.machine, = struct.unpack_from("<H", self.data, 18)
        self.segments = list(self._segments())
        self.dynamic = dict(self._dynamic())

    def _segments(self):
        """(type, flags, offset, address, file size) of each."""
        start, = self._read("QI", 32 if self.wide else 28)
        size, count = self._read("HH", 54 if self.wide else 42)
        for at in range(start, start + size * count, size):
            if self.wide:
                kind, flags, offset, address, _, length = struct.unpack_from(
                    "<IIQQQQ", self.data, at)
            else:
                kind, offset, address, _, length, _, flags = (
                    struct.unpack_from("<7I", self.data, at))
            yield kind, flags, offset, address, length

    def _read(self, kinds, at):
        """Values at an offset; of two kinds of word the one of the class."""
        if kinds == "QI":
            kinds = kinds[0 if self.wide else 1]
        return struct.unpack_from("<" + kinds, self.data, at)

    def of_type(self, kind):
        """The segments of a type."""
        return [segment for segment in self.segments if segment[0] == kind]

    def _dynamic(self):
        (_, _, offset, _, length), = self.of_type(PT_DYNAMIC)
        pair = "<qQ" if self.wide else "<iI"
        return struct.iter_unpack(pair, self.data[offset:offset + length])

    def at(self, address):
        """The offset of an address in the file."""
        return next(address - start + offset
                    for _, _, offset, start, length in self.of_type(PT_LOAD)
                    if start <= address < start + length)

    def symbols(self):
        """(name, address) of the functions that it takes or gives; an address
        of 0 is taken."""
        names, table = (self.at(self.dynamic[tag])
                        for tag in (DT_STRTAB, DT_SYMTAB))
        # The linker puts the names right behind the table.
        for at in range(table, names, 24 if self.wide else 16):
            if self.wide:
                name, kind, _, _, address, _ = struct.unpack_from(
                    "<IBBHQQ", self.data, at)
            else:
                name, address, _, kind, _, _ = struct.unpack_from(
                    "<IIIBBH", self.data, at)
            if kind & 15 == STT_FUNC:
                end = self.data.index(b"\0", names + name)
                yield self.data[names + name:end].decode(), address


@pytest.fixture(name="elf", params=[
    pytest.param(path, id=path.name) for path in (TOOL, MODULE)
    if path == TOOL or path.exists()])
def fixture_elf(request):
    """The tool, and its module where there is one."""
    return Elf(request.param)


def test_it_goes_to_any_address():
    """The tool; the module does by its nature."""
    assert Elf(TOOL).dynamic[DT_FLAGS_1] & DF_1_PIE


def test_its_tables_are_read_only_before_it_starts(elf):
    """All of them, since every symbol is bound when it is loaded."""
    assert elf.of_type(PT_GNU_RELRO)
    assert elf.dynamic.get(DT_FLAGS, 0) & DF_BIND_NOW
    assert elf.dynamic.get(DT_FLAGS_1, 0) & DF_1_NOW


def test_nothing_is_both_written_and_run(elf):
    """Neither the stack nor a segment, and no code is patched at the start."""
    (_, flags, *_), = elf.of_type(PT_GNU_STACK)
    assert not flags & EXEC
    assert all(flags & (EXEC | WRITE) != EXEC | WRITE
               for _, flags, *_ in elf.of_type(PT_LOAD))
    assert DT_TEXTREL not in elf.dynamic
    assert not elf.dynamic.get(DT_FLAGS, 0) & DF_TEXTREL


def test_libraries_come_from_the_system_alone(elf):
    """What a build folder needed is not looked for on the BMC."""
    assert DT_RPATH not in elf.dynamic
    assert DT_RUNPATH not in elf.dynamic


def test_the_stack_and_the_sizes_are_guarded(elf):
    """The compiler's guards leave calls into the C library."""
    taken = {name for name, address in elf.symbols() if address == 0}
    assert "__stack_chk_fail" in taken
    guards = ("__snprintf_chk", "__vsnprintf_chk", "__vprintf_chk")
    assert taken.intersection(guards), taken


def test_indirect_branches_land_where_they_may(elf):
    """Functions of ours that others may call begin with the mark, where the
    machine has one."""
    given = [address for name, address in elf.symbols()
             if address and ("2io3out" in name or "zantric" in name)]
    assert given
    for address in given:
        assert elf.data[elf.at(address):elf.at(address) + 4].startswith(
            LANDINGS.get(elf.machine, b""))
