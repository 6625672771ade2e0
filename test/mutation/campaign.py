# SPDX-License-Identifier: Apache-2.0
"""Draws faults, plants each and asks the tests: first those of the file's
subject, then, once every fault has had these, all that are left."""

import concurrent.futures
import contextlib
import json
import queue
import random
import threading
import time

import plant
import suite

# Seconds that a test may take without a fault, and with one: a few, and so
# often what it takes without.
_LONGEST, _LIMIT, _TIMES = 900, 30, 6

REFUSED, CAUGHT, SAME, PASSED, SURVIVED = (
    "does not compile", "caught", "the same program", "passed its subject",
    "survived")


def draw(sources, seed, files=None):
    """Every fault of the sources, or of some files, by its place in the seed's
    order."""
    found = [fault for name in sorted(files or sources.names())
             for fault in plant.faults(name, sources.read(name))]
    random.Random(seed).shuffle(found)
    return dict(enumerate(found))


def measure(tree, file):
    """What each test takes on the tree as it is, which it must pass; a loaded
    machine gives it two tries."""
    seconds = json.loads(file.read_text()) if file.exists() else {}
    for test in suite.tests(tree):
        if test.name in seconds:
            continue
        outcome = suite.run(test, _LONGEST)
        if outcome.failure:
            outcome = suite.run(test, _LONGEST)
        if outcome.failure:
            raise RuntimeError(
                f"Without a fault, {test.name} fails: {outcome.failure}")
        seconds[test.name] = outcome.seconds
        file.write_text(json.dumps(seconds))
    return seconds


class Worker:
    """Plants faults in one tree and tells what catches them."""

    def __init__(self, tree, seconds):
        self.tree = tree
        self.tests = suite.tests(tree)
        self.seconds = seconds
        tree.remember({program for test in self.tests
                       for program in test.programs})

    def ask(self, fault, is_first):
        """What becomes of a fault, by the first or by the other tests."""
        start = time.monotonic()
        original = self.tree.read(fault.file)
        near = suite.near(self.tests, fault.file)
        tests = near if is_first else [
            test for test in sorted(self.tests, key=self._order)
            if test not in near]
        if is_first:
            named = suite.mirrored(self.tree, near[0], fault.file)
            tests = [named] * bool(named) + near
        with self.tree.planted(fault.file, fault.plant(original)):
            result = self._judge(tests)
        if result == {"result": PASSED} and (
                not is_first or self._is_harmless(fault, original)):
            result = {"result": SAME if is_first else SURVIVED}
        return {**result, "seconds": round(time.monotonic() - start, 1)}

    def _order(self, test):
        return self.seconds[test.name]

    def _judge(self, tests):
        """What the tests say to what is planted; each is built when it is its
        turn, since the first may be enough."""
        for test in tests:
            built, _ = self.tree.compile(test.programs)
            if not built:
                return {"result": REFUSED}
            # Nothing to see for what runs the same programs.
            if test.programs and not self.tree.changed(test.programs):
                continue
            outcome = suite.run(
                test, _LIMIT + _TIMES * self.seconds[test.name])
            if outcome.failure:
                return {"result": CAUGHT, "test": test.name,
                        "case": outcome.failure,
                        "in": round(outcome.seconds, 1)}
        return {"result": PASSED}

    def _is_harmless(self, fault, original):
        """Whether the optimiser makes the same of the source, fault or not."""
        with self.tree.planted(fault.file, fault.plant(original)):
            planted = self.tree.release_object(fault.file)
        return planted is not None and (
            planted == self.tree.release_object(fault.file))


class Records:
    """What became of each fault, by its number in the draw; a file has a line
    for each step, so that a campaign can go on where it was ended."""

    def __init__(self, file):
        self.file = file
        self.lock = threading.Lock()
        self.last = {}
        if file.exists():
            for line in file.read_text().splitlines():
                record = json.loads(line)
                self.last[record["number"]] = record

    def add(self, number, fault, result):
        """Writes down what became of a fault."""
        earlier = self.last.get(number, {}).get("seconds", 0)
        record = {
            "number": number, "file": fault.file, "line": fault.line,
            "kind": fault.kind, "before": fault.before, "after": fault.after,
            **result, "seconds": round(result["seconds"] + earlier, 1)}
        with self.lock:
            self.last[number] = record
            with open(self.file, "a", encoding="utf-8") as file:
                file.write(json.dumps(record) + "\n")

    def compiled(self):
        """How many faults so far are programs at all."""
        return sum(record["result"] != REFUSED
                   for record in self.last.values())


class Campaign:
    """Some workers, one queue."""

    def __init__(self, workers, faults, records):
        self.faults = faults
        self.records = records
        self.workers = queue.Queue()
        for worker in workers:
            self.workers.put(worker)
        self.size = len(workers)

    @contextlib.contextmanager
    def _worker(self):
        worker = self.workers.get()
        try:
            yield worker
        finally:
            self.workers.put(worker)

    def _ask(self, number, is_first):
        with self._worker() as worker:
            fault = self.faults[number]
            self.records.add(number, fault, worker.ask(fault, is_first))

    def _all(self, numbers, is_first):
        with concurrent.futures.ThreadPoolExecutor(self.size) as pool:
            for done in pool.map(lambda number: self._ask(number, is_first),
                                 numbers):
                assert done is None

    def first(self, count):
        """Asks the first tests until so many faults have compiled."""
        while self.records.compiled() < count:
            missing = count - self.records.compiled()
            numbers = [number for number in sorted(self.faults)
                       if number not in self.records.last][:missing]
            if not numbers:
                return
            self._all(numbers, True)

    def others(self, known=()):
        """Asks all other tests about what has passed the first, but for what
        is known to do no harm and what these sources no longer have."""
        self._all([number for number, record in
                   sorted(self.records.last.items())
                   if record["result"] == PASSED and number in self.faults and
                   number not in known],
                  False)
