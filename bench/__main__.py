# SPDX-License-Identifier: Apache-2.0
"""Measures the release build on the simulated BMC; see bench/run."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile

from bench import arm, history, measure, native
from bench.world import HERE, ROOT
from sim.launch import env


def commit():
    """The commit that is measured, marked where the tree has more."""
    return subprocess.run(
        ["git", "-C", ROOT, "describe", "--always", "--dirty"], check=True,
        stdout=subprocess.PIPE, text=True).stdout.strip()


def measured(what, results_folder):
    """Prepares and measures, in a world of its own."""
    what.prepare()
    results_folder.mkdir(parents=True, exist_ok=True)
    env.enter([ROOT, results_folder])
    daemons = [env.start_bus(), env.start_journal()]
    try:
        with tempfile.TemporaryDirectory() as folder:
            return what.run(folder)
    finally:
        for daemon in daemons:
            env.stop_process(daemon)


def keep(what, results, folder, measured_commit):
    """Writes the results; gives every run so far."""
    (folder / f"{what.NAME}.json").write_text(
        json.dumps(results, indent=2) + "\n")
    (folder / f"{what.NAME}.md").write_text(what.markdown(results))
    history.append(folder / "history.jsonl", history.entry(
        results["machine"], what.figures(results), measured_commit))
    return history.read(folder / "history.jsonl")


def measure_all(what, folder):
    """Prepares, measures, reports; the status."""
    if os.geteuid() != 0:
        raise measure.Failure("the simulator needs root")
    before = commit()
    results = measured(what, folder)
    runs = keep(what, results, folder, before)
    print(what.markdown(results), history.comparison(runs), sep="\n", end="")
    old = history.before(runs)
    worse = history.regressions(old, runs[-1]) if old else []
    missed = [goal for goal in what.goals(results) if not goal.met]
    return 1 if worse or missed else 0


def main(words):
    """Does what the words ask for."""
    option = words.pop(0) if words[:1] and words[0].startswith("--") else ""
    folder = pathlib.Path(words[0] if words else HERE / "results").resolve()
    if option == "--compare":
        print(history.comparison(history.read(folder / "history.jsonl")),
              end="")
        return 0
    if option not in ("", "--arm"):
        raise measure.Failure(f"there is no {option}; see bench/run")
    return measure_all(arm if option else native, folder)


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except (measure.Failure, env.Failure) as failure:
        sys.exit(f"bench: {failure}")
