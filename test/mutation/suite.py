# SPDX-License-Identifier: Apache-2.0
"""The project's tests, as Meson knows them: which should notice a fault in a
file, and whether one does."""

import fnmatch
import json
import os
import re
import signal
import subprocess
import tempfile
import time
from typing import NamedTuple

# The tests of a subject, what is quickest to tell first. The first row that
# fits counts; what is behind it in the suite is asked when all of these pass.
_NEAR = (
    ("subprojects/phosphor-logging/", "lg2", "lg2 refuses", "io"),
    ("subprojects/sdbusplus/", "sdbusplus", "io"),
    ("subprojects/libspdm/", "libspdm", "spdm both sides", "fuzz spdm_flow",
     "spdm hostile", "e2e attest", "e2e attest_certificates"),
    ("io/common/spdm/", "spdm", "fuzz certificate_file", "fuzz spdm_flow",
     "e2e attest", "e2e attest_[ctlu]*", "spdm hostile"),
    ("io/common/src/Events", "io", "e2e events", "e2e hidden_log"),
    ("io/common/src/I2C", "io", "e2e i2c_mctp"),
    ("io/common/src/Mctp", "io", "fuzz routing_table", "e2e i2c_mctp",
     "e2e endpoints", "e2e pcie_listing", "e2e attest_lookup"),
    ("io/", "io", "tool", "e2e objects", "e2e mapper", "e2e firmware"),
    ("tool/attest/", "spdm", "e2e attest_program", "e2e attest",
     "e2e attest_*"),
    ("tool/event/", "tool", "fuzz event*", "e2e events", "e2e hidden_log"),
    ("tool/firmware/", "tool", "fuzz firmware*", "e2e firmware"),
    ("tool/inventory/", "tool", "fuzz backplane*", "e2e backplanes",
     "e2e objects"),
    ("tool/json/", "tool", "fuzz json*", "e2e show"),
    ("tool/mctp/", "tool", "e2e i2c_mctp"),
    ("tool/pcie/", "tool", "fuzz pcie*", "e2e pcie_listing",
     "e2e system_state", "e2e show"),
    ("tool/storage/", "tool", "fuzz storage*", "fuzz volume*",
     "e2e storage_listing", "e2e volumes", "e2e delete*", "e2e update_wait",
     "e2e ttylog", "e2e show"),
    ("tool/services", "tool", "e2e objects"),
    ("tool/term", "tool", "e2e terminal"),
    ("tool/", "tool", "e2e command_line", "e2e objects", "e2e terminal"),
)
_MODULE = re.compile("attest")
# Of the end-to-end tests, those that load what attests.
_ATTESTS = re.compile(
    r"e2e (attest|faults_others|examples|sim|bus_policy|hardening)")
# Programs with the cases of many sources.
_ALL_AT_ONCE = ("io", "tool", "spdm")
_FAILED = re.compile(r"^(?:\[  FAILED  \] (\S+?\.[^\s,]+)|FAILED (\S+)"
                     r"|ERROR (\S+))", re.M)
_BEGUN = re.compile(r"^\[ RUN      \] (\S+)", re.M)


class Test(NamedTuple):
    """A test, and the files of the build that it depends on."""
    name: str
    words: list
    env: dict
    folder: str
    programs: tuple


class Outcome(NamedTuple):
    """How a test ended: "" for passed, else what failed."""
    failure: str
    seconds: float


def _introspect(tree, what):
    return json.loads(subprocess.check_output(
        ["meson", "introspect", "--" + what, tree.build]))


def tests(tree):
    """Every test but the lints, which look at no program."""
    files = {target["id"]: os.path.relpath(target["filename"][0], tree.build)
             for target in _introspect(tree, "targets")}
    found = []
    for test in _introspect(tree, "tests"):
        if any("lint" in suite for suite in test["suite"]):
            continue
        programs = tuple(
            files[target] for target in test["depends"]
            if not _MODULE.search(files[target]) or
            not test["name"].startswith("e2e") or _ATTESTS.match(test["name"]))
        found.append(Test(test["name"], test["cmd"], test["env"],
                          test["workdir"] or tree.build, programs))
    return found


def near(all_tests, file):
    """The tests of a file's subject."""
    row = next(row for row in _NEAR if file.startswith(row[0]))
    return [test for pattern in row[1:] for test in all_tests
            if fnmatch.fnmatchcase(test.name, pattern)]


def mirrored(tree, test, file):
    """Those cases of a test that are named after the file; None where there
    are none."""
    stem = file.rpartition("/")[2].partition(".")[0].replace("_", "").lower()
    cases = "".join(
        path.read_text() for path in (tree.path / "test").rglob("*_test.cpp")
        if path.name[:-len("_test.cpp")].replace("_", "") == stem)
    suites = set(re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+)", cases))
    if not suites or test.name not in _ALL_AT_ONCE:
        return None
    names = ":".join(f"{suite}.*:*/{suite}.*" for suite in sorted(suites))
    return test._replace(words=[*test.words, "--gtest_filter=" + names])


def _end(process):
    """Ends a test that takes too long, with all that it has started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def run(test, limit):
    """Runs a test to its first failure, but no longer than some seconds."""
    env = {**os.environ, **test.env, "GTEST_FAIL_FAST": "1",
           "GTEST_COLOR": "no", "PYTEST_ADDOPTS": "-x --tb=no"}
    start = time.monotonic()
    with tempfile.TemporaryFile("w+", errors="replace") as output:
        # A group of its own, which ends as a whole.
        process = subprocess.Popen(
            test.words, env=env, cwd=test.folder, stdin=subprocess.DEVNULL,
            stdout=output, stderr=subprocess.STDOUT, start_new_session=True)
        try:
            process.wait(limit)
            failure = "" if process.returncode == 0 else None
        except subprocess.TimeoutExpired:
            _end(process)
            failure = f"no end after {limit:.0f} s"
        output.seek(0)
        if failure is None:
            failure = _failed_case(output.read(), process.returncode)
    return Outcome(failure, time.monotonic() - start)


def _failed_case(text, status):
    """The case that failed, or in which the program ended."""
    found = _FAILED.search(text)
    if found:
        return next(filter(None, found.groups())).rpartition("/")[2]
    begun = _BEGUN.findall(text)
    return f"status {status}" + (f" in {begun[-1]}" if begun else "")
