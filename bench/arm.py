# SPDX-License-Identifier: Apache-2.0
"""Counts what the release build for 32-bit ARM does, under qemu-user.

The counts are those of the program alone, and the same on every machine; there
are no times, which would be QEMU's.
"""

from bench import cases, history, measure, report
from bench.world import (BUILD, DEFAULT, ROOT, STATIC, logged, say, shell,
                         simulated)

NAME = "arm"
CROSS = ROOT / "build-bmc/cross"
COUNT = BUILD / "bench-count.so"
FLOOR = CROSS / "tmp/floor.arm"
ATTEST_FLOOR = CROSS / "tmp/attest_floor.arm"
ZANTRIC = CROSS / "src/build-arm/tool/zantric"
QEMU = ["qemu-arm", "-L", str(CROSS)]


def prepare():
    """Builds what is measured, in the root that scripts/bmc builds in."""
    shell('install_packages "${packages[@]}" arch-test mmdebstrap qemu-user '
          'qemu-user-static; '
          f'. "{ROOT}/packaging/bmc/image.sh"; mkdir -p "$cache"; make_cross; '
          f'cd "{ROOT}"; build_in "{BUILD}" {STATIC}; '
          f'cc -O2 -shared -fPIC -o "{COUNT}" bench/count.c; '
          'release_for_arm; '
          'compile_for_arm bench/floor.c floor.arm -lsystemd; '
          'compile_for_arm bench/attest_floor.c attest_floor.arm -lsystemd '
          '-lcrypto')


def compare(commands):
    """What each of the commands for ARM costs."""
    return {name: measure.counted([*QEMU, "-plugin", f"file={COUNT}",
                                   *map(str, command)])
            for name, command in commands.items()}


def one_call(size, folder):
    """One storage call."""
    with simulated(cases.volumes(size), folder):
        every = cases.competitors({"zantric": ZANTRIC}, FLOOR)
        return compare({name: every[name] for name in ("floor", "zantric")})


def seen(words, floor, floor_words, folder):
    """A run of the default scenario against the calls that it makes."""
    with simulated(DEFAULT, folder) as log:
        calls = logged([*QEMU, str(ZANTRIC), *words], log)
        return compare({"floor": [floor, *floor_words(calls)],
                        "zantric": [ZANTRIC, *words]})


def run(folder):
    """Every measurement."""
    machine = {**report.machine(), "processor": "32-bit ARM, counted"}
    say("calls for ARM")
    calls = {"call 3 kB": one_call(3000, folder),
             "call 1 MB": one_call(1000000, folder)}
    say("listing and attestation for ARM")
    return {"machine": machine, **calls,
            "listing": seen([], FLOOR, cases.floor_words, folder),
            "attestation": seen(["-o", "attest", "-a", hex(cases.ADDRESS)],
                                ATTEST_FLOOR, cases.attest_floor_words,
                                folder)}


def goals(_results):
    """None but that nothing gets worse."""
    return []


def figures(results):
    """All that a run counted of the tool, by name."""
    found = {}
    for table in report.TABLES:
        cost = results[table]["zantric"]
        found[f"{table}: instructions"] = (cost["instructions"],
                                           history.COUNTED_NOISE)
        found[f"{table}: kB"] = (cost["kB"], history.MEMORY_NOISE)
    return found


def markdown(results):
    """All of it, for people."""
    return report.counted({name: results[name] for name in report.TABLES})
