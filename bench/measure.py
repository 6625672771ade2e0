# SPDX-License-Identifier: Apache-2.0
"""Measures commands: time, instructions, memory and size."""

import json
import pathlib
import re
import statistics
import subprocess
import tempfile


class Failure(Exception):
    """A reason to give up, in one sentence for the user."""


def read_instructions(report):
    """The total in what callgrind writes, for each process, on standard error.
    """
    found = re.findall(r"Collected : (\d+)", report)
    if not found:
        raise Failure(f"callgrind counted nothing: {report}")
    return sum(int(count) for count in found)


def read_memory(report):
    """The peak in kB in what time writes, last, on standard error."""
    found = re.search(r"(\d+)\s*\Z", report)
    if not found:
        raise Failure(f"time told no memory: {report}")
    return int(found[1])


def read_times(report, which):
    """Seconds of each command in hyperfine's JSON, in order: "median", "min".

    Not the mean, into which one disturbed run goes whole.
    """
    return [result[which] for result in json.loads(report)["results"]]


def read_load_size(report):
    """Bytes that are loaded, in what `size` writes."""
    text, data = report.splitlines()[1].split()[:2]
    return int(text) + int(data)


def read_loading(report):
    """Seconds in what bench/load.c writes, on standard error."""
    found = re.search(r" loaded in (\d+) ns$", report, re.MULTILINE)
    if not found:
        raise Failure(f"nothing was loaded: {report}")
    return int(found[1]) / 1e9


def read_counted(report):
    """Instructions and touched memory in kB in what bench/count.c writes."""
    found = re.search(r"^(\d+) instructions, (\d+) pages$", report,
                      re.MULTILINE)
    if not found:
        raise Failure(f"QEMU counted nothing: {report}")
    return {"instructions": int(found[1]), "kB": 4 * int(found[2])}


def paired_ratios(rounds, base):
    """Median ratio of each command to the base, taken within each round."""
    return {name: statistics.median(row[name] / row[base] for row in rounds)
            for name in rounds[0]}


def noise(rounds, base, name):
    """How far apart the middle half of the rounds' ratios is, as a part of
    their median."""
    ratios = sorted(row[name] / row[base] for row in rounds)
    low, middle, high = statistics.quantiles(ratios, method="inclusive")
    return (high - low) / middle


def _run(words):
    result = subprocess.run(words, stdout=subprocess.DEVNULL,
                            stderr=subprocess.PIPE, text=True, check=False)
    if result.returncode != 0:
        raise Failure(f"{' '.join(words)} ended with {result.returncode}: "
                      f"{result.stderr}")
    return result.stderr


def instructions(command):
    """Instructions of one run; the loader's are part of them."""
    return read_instructions(_run(
        ["valgrind", "--tool=callgrind", "--trace-children=yes",
         "--callgrind-out-file=/dev/null",
         *command]))


def counted(command):
    """What a run under QEMU costs that has bench/count.c for a plugin."""
    return read_counted(_run(command))


def memory(command, runs=5):
    """Median of the peak resident memory, kB."""
    return statistics.median(
        read_memory(_run(["/usr/bin/time", "-f", "%M", *command]))
        for _ in range(runs))


def times(commands, runs, warmup=2, which="median"):
    """Seconds of each of the named commands, one after the other."""
    with tempfile.NamedTemporaryFile("r", suffix=".json") as report:
        _run(["hyperfine", "--shell=none", f"--runs={runs}",
              f"--warmup={warmup}", f"--export-json={report.name}",
              *(_quote(command) for command in commands.values())])
        return dict(zip(commands, read_times(report.read(), which)))


def loading(command, library, rounds, runs):
    """What a command's loading of its module takes: milliseconds of the best
    round, and how far apart the middle half of the rounds is."""
    command = ["env", f"LD_PRELOAD={library}", *command]
    rows = [{"load": statistics.median(read_loading(_run(command))
                                       for _ in range(runs)), "one": 1}
            for _ in range(rounds)]
    return {"ms": 1000 * min(row["load"] for row in rows),
            "noise": noise(rows, "one", "load")}


def _quote(command):
    return " ".join("'" + word.replace("'", "'\\''") + "'"
                    for word in command)


def rotated(commands, by):
    """The same commands, another one first."""
    items = list(commands.items())
    by %= len(items)
    return dict(items[by:] + items[:by])


def paired_times(commands, rounds, runs):
    """A row of median seconds a round: what disturbs a round disturbs all.

    Each round starts with another one, so that what grows or fades within a
    round favours none.
    """
    return [times(rotated(commands, index), runs) for index in range(rounds)]


def limited_status(command, limit):
    """How a command ends that gets no more than so many bytes of memory."""
    return subprocess.run(
        ["prlimit", f"--as={limit}", *command], check=False,
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode


def stripped_size(program, folder):
    """Bytes of the program's file without its symbols, and of its loads."""
    stripped = pathlib.Path(folder) / "stripped"
    _run(["strip", "-o", str(stripped), str(program)])
    loaded = subprocess.run(["size", str(stripped)], check=True, text=True,
                            stdout=subprocess.PIPE).stdout
    return stripped.stat().st_size, read_load_size(loaded)
