# SPDX-License-Identifier: Apache-2.0
"""What the compiler and the linker were told, read back from the tool and from
its module: a flag that got lost on the way shows nowhere else."""

import os
import pathlib

import pytest

from scripts.elf import Elf, PT_LOAD

TOOL = pathlib.Path(os.environ["ZANTRIC"])
MODULE = TOOL.with_name("zantric-attest.so")
# elf.h
EXEC, WRITE = 1, 2
PT_GNU_STACK, PT_GNU_RELRO = 0x6474e551, 0x6474e552
DT_RPATH, DT_TEXTREL, DT_RUNPATH = 15, 22, 29
DT_FLAGS, DT_FLAGS_1 = 30, 0x6ffffffb
DF_TEXTREL, DF_BIND_NOW, DF_1_NOW, DF_1_PIE = 4, 8, 1, 0x08000000
#: How a function begins that an indirect branch may go to, by machine.
LANDINGS = {62: (b"\xf3\x0f\x1e\xfa",),
            183: (b"\x5f\x24\x03\xd5", b"\x3f\x23\x03\xd5")}
RUNTIMES = {"libstdc++.so.6", "libc++.so.1"}


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
    taken = {symbol.name for symbol in elf.symbols() if not symbol.address}
    assert "__stack_chk_fail" in taken
    guards = ("__snprintf_chk", "__vsnprintf_chk", "__vprintf_chk")
    # The C library's headers have them for g++ alone.
    assert b"clang version" in elf.data or taken.intersection(guards), taken


def test_indirect_branches_land_where_they_may(elf):
    """Functions that are called by their address begin with the mark, where
    the machine has one. Debian's own objects bring a handful without ours."""
    marks = LANDINGS.get(elf.machine, ())
    assert not marks or sum(map(elf.data.count, marks)) > 50


def test_there_is_one_runtime_in_a_process():
    """The module takes the tool's: what one throws the other can catch."""
    if MODULE.exists():
        assert RUNTIMES.intersection(Elf(MODULE).libraries()) <= (
            RUNTIMES.intersection(Elf(TOOL).libraries()))
