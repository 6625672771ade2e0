# SPDX-License-Identifier: Apache-2.0
"""sim/README.md against the reader of scenarios: the same keys, the same
words, and examples that it takes."""

import copy
import json
import os
import re

import pytest

from harness import sim_env

TEXT = (sim_env.ROOT / "sim/README.md").read_text()
EXAMPLES = [json.loads(block) for block in
            re.findall(r"^```json\n(.*?)^```", TEXT, re.MULTILINE | re.DOTALL)]
# The keys of each table.
TABLES = [set(re.findall(r"^\| `([^`]+)` \|", table, re.MULTILINE))
          for table in TEXT.split("| key | meaning |")[1:]]
ODD = "@odd"


@pytest.fixture(autouse=True)
def folder_of_its_own(tmp_path, monkeypatch):
    """An odd word may be the name of a folder to make."""
    monkeypatch.chdir(tmp_path)


def complaint(scenario, folder):
    """What the real reader says to a scenario; nothing when it takes it."""
    (folder / "services.json").write_text("{}")
    file = folder / "scenario.json"
    file.write_text(json.dumps(scenario))
    try:
        process = sim_env.start_bmc(os.environ["BMCSIM"], [str(file)],
                                    "/dev/null")
    except sim_env.Failure as failure:
        return str(failure)
    sim_env.stop_process(process)
    return ""


def places(value, path=()):
    """The path of everything in a document."""
    yield path, value
    members = (value.items() if isinstance(value, dict)
               else enumerate(value) if isinstance(value, list) else ())
    for key, member in members:
        yield from places(member, (*path, key))


def changed(document, path, value):
    """A copy with another value at the path."""
    result = copy.deepcopy(document)
    at = result
    for key in path[:-1]:
        at = at[key]
    at[path[-1]] = value
    return result


def known(text):
    """The words that a complaint says are known there."""
    found = re.search(r"is none of (.+)$", text)
    return set(found[1].split(", ")) if found else set()


def key_sets(folder):
    """What each object of the examples may have as its keys."""
    for example in EXAMPLES:
        for path, value in places(example):
            if isinstance(value, dict):
                planted = changed(example, (*path, ODD), {})
                if keys := known(complaint(planted, folder)):
                    yield keys


@pytest.mark.parametrize("example", EXAMPLES)
def test_the_reader_takes_each_example(tmp_path, example):
    assert complaint(example, tmp_path) == ""


def test_the_keys_are_those_of_the_reader(tmp_path):
    """An object's keys are one table's, or those of a few together; and no
    table has a key of its own."""
    used = []
    for keys in key_sets(tmp_path):
        tables = [table for table in TABLES if table <= keys]
        assert set().union(*tables) == keys
        used += tables
    assert [table for table in TABLES if table not in used] == []


def test_the_words_are_those_of_the_reader(tmp_path):
    """Of every value that is one of a few words."""
    words = set()
    for example in EXAMPLES:
        for path, value in places(example):
            if isinstance(value, str):
                words |= known(complaint(changed(example, path, ODD),
                                         tmp_path))
    assert len(words) > 30
    assert [word for word in words if f'"{word}"' not in TEXT
            and f"`{word}`" not in TEXT] == []
