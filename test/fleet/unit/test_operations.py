# SPDX-License-Identifier: Apache-2.0
"""Command lines, and what they do: the same operations as the tool's."""

import world  # noqa: F401  (leads to the next)
import documented
import pytest
from modules import run
from plugin_utils import operations
from plugin_utils.outcome import Run

A = {"address": "0x8c0000", "service": "rsa"}


def test_every_operation_of_the_tool_is_there():
    ours = operations.READING + operations.CHANGING
    assert sorted(ours) == sorted(documented.OPERATIONS)
    assert sorted(run.ARGUMENTS["operation"]["choices"]) == sorted(ours)


@pytest.mark.parametrize("options, line", [
    ({"operation": "list"}, "-o list"),
    ({"operation": "edit", **A, "resource_id": 400, "params": "a=b c"},
     "-o edit -a 0x8c0000 -s rsa -r 400 -p a=b c"),
    ({"operation": "show", "target": "Objects", "file": "x.y", "verbose": True,
      "service": ""}, "-o show -t Objects -f x.y -v"),
    ({"operation": "discover", "address": 7}, "-o discover -a 0x7"),
])
def test_command_lines(options, line):
    assert " ".join(operations.words(options)) == line


@pytest.mark.parametrize("address", ["9175040", "8c0000", "0x", "0x8c0000;", 0,
                                     True, -1, 2**32, "0x100000000", 1.5])
def test_addresses_that_are_refused(address):
    with pytest.raises(operations.Refused, match="^address: "):
        operations.words({"operation": "list", "address": address})


def test_an_update_without_a_file_only_reads():
    assert not operations.changes({"operation": "update", "file": None})
    assert operations.changes({"operation": "update", "file": "x"})
    assert all(operations.changes({"operation": word})
               for word in operations.CHANGING if word != "update")
    assert not any(operations.changes({"operation": word})
                   for word in operations.READING)


@pytest.mark.parametrize("word", operations.CHANGING)
def test_every_change_says_where_to_look(word):
    assert "zantric" in operations.where_to_look(
        {"operation": word, **A}) or word in ("event", "enableMctp")


@pytest.mark.parametrize("run_, failure, unanswered", [
    (Run("done\n", "", 1, 0, 0), "", False),
    (Run("a\n\nlast\n", "x\n", 1, 255, 0), "last", False),
    (Run("", "file\n", 1, 255, 143), "file", False),
    (Run("", "", 1, 255, 0),
     "failed without a message; journal: true shows why", False),
    (Run("x exception: sd_bus_call: Timeout\n", "", 1, 255, 0),
     "x exception: sd_bus_call: Timeout", True),
    (Run("", "", 1, 137, 0), "the tool was ended by signal 9", True),
    (Run("", "", 1, 143, 3), "no end after 5 seconds; the tool was ended",
     True),
    (Run("", "no\n", 1, 2, 0), "status 2 is none of the tool's: no", False),
])
def test_what_a_finished_run_means(run_, failure, unanswered):
    assert (run_.failure(5), run_.unanswered()) == (failure, unanswered)


def test_results_are_clean():
    result = Run("\x1b[A\x1b[KProgress\n\udcff", "debug1: x\nreal\n", 7, 0,
                 0).result()
    assert result["stdout"] == "Progress\n\ufffd"
    assert result["stderr"] == "real\n"
