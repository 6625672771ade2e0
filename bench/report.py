# SPDX-License-Identifier: Apache-2.0
"""The results as tables, with the goals beside them."""

import os
import platform
from typing import NamedTuple


BMC = "zantric (shared libraries)"
TABLES = ("call 3 kB", "call 1 MB", "listing", "attestation")


class Goal(NamedTuple):
    """Something measured and what it shall at most be."""

    name: str
    value: float
    limit: float
    unit: str = ""

    @property
    def met(self):
        return self.value <= self.limit


def ratio(table, column, name="zantric", base="floor"):
    """One cost as a multiple of another; times are ratios already."""
    if column == "time":
        return table[name]["time"] / table[base]["time"]
    return table[name][column] / table[base][column]


def goals(results):
    """The goals, in the order of the tables."""
    call, listing = results["call 3 kB"], results["listing"]
    large, jq = results["call 1 MB"], "busctl --json=short call | jq"
    drives = {int(count): cost for count, cost in
              results["growth"]["drives listed"].items()}
    start = results["start"]
    return [
        Goal("3 kB call, time / floor", ratio(call, "time"), 1.25),
        Goal("3 kB call, instructions / floor",
             ratio(call, "instructions"), 1.6),
        Goal("3 kB call, peak memory / floor", ratio(call, "kB"), 1.25),
        Goal("3 kB call, time / busctl call",
             ratio(call, "time", base="busctl call"), 0.5),
        Goal("3 kB call, time in a BMC's configuration / static",
             ratio(call, "time", BMC, "zantric"), 1.2),
        Goal("1 MB call, time / floor", ratio(large, "time"), 2.0),
        Goal("1 MB call, instructions / floor",
             ratio(large, "instructions"), 4.5),
        Goal("1 MB call, peak memory / floor", ratio(large, "kB"), 1.5),
        Goal("1 MB call, time / busctl --json=short call",
             ratio(large, "time", base="busctl --json=short call"), 1),
        Goal("1 MB call, time / busctl with jq",
             ratio(large, "time", base=jq), 1),
        Goal("whole listing, time / floor", ratio(listing, "time"), 1.5),
        Goal("attestation, time / floor",
             ratio(results["attestation"], "time"), 1.25),
        Goal("attestation, loading of the module", results["load"]["ms"], 0.7,
             " ms"),
        Goal("10,000 drives, instructions / 1,000 drives",
             drives[10000]["instructions"] / drives[1000]["instructions"],
             10.5),
        Goal("10,000 drives, time / 1,000 drives",
             drives[10000]["ms"] / drives[1000]["ms"], 10.5),
        Goal("10,000 drives, peak memory", results["limits"]["kB"] / 1000, 12,
             " MB"),
        Goal("10,000 drives in 64 MB, status",
             results["limits"]["drives"], 0),
        Goal("1 MB shown in 64 MB, status", results["limits"]["show"], 0),
        Goal("start with attestation built in / without, instructions",
             start["with"] / start["without"], 1.02),
        Goal("stripped size without attestation",
             results["size"]["file"] / 1000, 250, " kB"),
    ]


def machine():
    """Where it was measured, and what else was going on."""
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        models = [line.split(":", 1)[1].strip() for line in file
                  if line.startswith("model name")]
    return {"processor": models[0] if models else platform.machine(),
            "processors": os.cpu_count(), "system": platform.release(),
            "load": os.getloadavg()[0]}


def _rows(head, rows):
    bar = r"\|"  # within a cell
    lines = [head, ["---"] + ["--:"] * (len(head) - 1), *rows]
    return "".join(
        f"| {' | '.join(cell.replace('|', bar) for cell in line)} |\n"
        for line in lines) + "\n"


def _comparison(table):
    return _rows(
        ["", "time", "instructions", "peak memory", "ms", "M instructions",
         "kB"],
        [[name, f"{cost['time']:.2f}",
          f"{ratio(table, 'instructions', name):.2f}",
          f"{ratio(table, 'kB', name):.2f}", f"{cost['ms']:.2f}",
          f"{cost['instructions'] / 1e6:.2f}", f"{cost['kB']:.0f}"]
         for name, cost in table.items()])


def counted(tables):
    """What was counted for ARM, for people."""
    return ("32-bit ARM, counted by qemu-arm: instructions, and the memory "
            "that was touched at any time.\n\n" + _rows(
                ["", "", "M instructions", "/ floor", "kB", "/ floor"],
                [[table, name, f"{cost['instructions'] / 1e6:.2f}",
                  f"{ratio(costs, 'instructions', name):.2f}",
                  f"{cost['kB']}", f"{ratio(costs, 'kB', name):.2f}"]
                 for table, costs in tables.items()
                 for name, cost in costs.items()]).rstrip("\n") + "\n")


def _growth(costs):
    return _rows(
        ["", "ms", "M instructions"],
        [[f"{int(point):,}", f"{cost['ms']:.2f}",
          f"{cost['instructions'] / 1e6:.2f}"]
         for point, cost in costs.items()])


def _goals(results):
    return _rows(
        ["goal", "at most", "measured", ""],
        [[goal.name, f"{goal.limit:g}{goal.unit}",
          f"{goal.value:.3g}{goal.unit}", "met" if goal.met else "**missed**"]
         for goal in goals(results)])


def markdown(results):
    """All of it, for people."""
    where = results["machine"]
    text = (f"Measured on {where['processors']} x {where['processor']}, Linux "
            f"{where['system']}; load at the start {where['load']:.1f}.\n"
            "Ratios are to the floor: a C program that makes the same calls "
            "on sd-bus, and\nfor an attestation has the same signatures "
            "verified.\nThe times are medians of paired rounds; ms is the "
            "best round.\n\n## Goals\n\n" + _goals(results))
    for name in TABLES:
        text += (f"## {name[0].upper()}{name[1:]}\n\n"
                 f"{_comparison(results[name])}")
    for name, costs in results["growth"].items():
        text += f"## Growth: {name}\n\n{_growth(costs)}"
    return text.rstrip("\n") + "\n"
