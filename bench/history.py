# SPDX-License-Identifier: Apache-2.0
"""What each run measured, kept: what moved since the one before.

A line of the history is one run: where and of what, and its figures. A figure
is a value and the noise that the run itself saw in it, as a part of the value.
"""

import json

from bench import report

# Of the same program two runs differ by some hundred instructions, because of
# addresses that differ; more is the program's.
COUNTED_NOISE = 0.002
WORSE_INSTRUCTIONS = 0.02
MEMORY_NOISE = 0.02  # pages that the kernel happens to map around a fault
TIMES_NOISE = 0.1  # of single points of a growth, which are not paired


def _cost_figures(name, cost):
    """The figures of one command of a comparison."""
    yield f"{name}, time", (cost["time"], cost["noise"])
    yield f"{name}, instructions", (cost["instructions"], COUNTED_NOISE)
    yield f"{name}, kB", (cost["kB"], MEMORY_NOISE)


def figures(results):
    """All that a run measured of the tool, by name."""
    found = {}
    for table in report.TABLES:
        for name, cost in results[table].items():
            if name.startswith("zantric"):
                found.update(_cost_figures(f"{table}: {name}", cost))
    for name, costs in results["growth"].items():
        for point, cost in costs.items():
            found[f"{name}: {point}, instructions"] = (
                cost["instructions"], COUNTED_NOISE)
            found[f"{name}: {point}, ms"] = (cost["ms"], TIMES_NOISE)
    found["module loaded, ms"] = (results["load"]["ms"],
                                  results["load"]["noise"])
    found["stripped size"] = (results["size"]["file"], 0.0)
    return found


def entry(machine, found, commit):
    """A run as the history has it: where, its figures, and of what."""
    return {"commit": commit,
            "machine": f"{machine['processors']} x {machine['processor']}, "
                       f"Linux {machine['system']}",
            "load": round(machine["load"], 1),
            "figures": found}


def read(path):
    """Every run so far, the oldest first."""
    if not path.exists():
        return []
    return [json.loads(line) for line in path.read_text().splitlines()]


def append(path, run):
    """Adds a run."""
    with path.open("a", encoding="utf-8") as file:
        file.write(json.dumps(run) + "\n")


def before(runs):
    """The run to compare the last one with: the one before it on the same
    machine, if there is one."""
    same = [run for run in runs[:-1] if run["machine"] == runs[-1]["machine"]]
    return same[-1] if same else None


def moved(old, new):
    """What changed by more than the noise of both: name, values, part."""
    for name, (value, noise) in new["figures"].items():
        if name not in old["figures"]:
            continue
        old_value, old_noise = old["figures"][name]
        change = value / old_value - 1
        if abs(change) > noise + old_noise:
            yield name, old_value, value, change


def regressions(old, new):
    """What takes too many instructions more than before."""
    return [row for row in moved(old, new)
            if row[0].endswith("instructions") and
            row[3] > WORSE_INSTRUCTIONS]


def comparison(runs):
    """What moved between the last run and the one before it, for people."""
    if not runs:
        return "Nothing was measured yet.\n"
    old = before(runs)
    if old is None:
        return "There is no earlier run on this machine.\n"
    rows = list(moved(old, runs[-1]))
    head = f"From {old['commit']} to {runs[-1]['commit']}:"
    if not rows:
        return f"{head} nothing moved by more than the noise.\n"
    return head + "\n" + "".join(
        f"{100 * change:+8.1f} %  {name}: {old_value:g} -> {value:g}\n"
        for name, old_value, value, change in rows)
