# SPDX-License-Identifier: Apache-2.0
"""scripts/lint/tidy: a clean source is not looked at again until something
changes that its outcome depends on."""

import json

import pytest

from conftest import load

# Has a finding in every source that says so.
CHECKER = """#!/bin/sh
if [ "$1" = --version ]; then
    echo version 1
    exit
fi
for source; do :; done
echo "$source" >>@
if grep -q bad "$source"; then
    echo a finding
    exit 1
fi
"""


class Project:
    """A source and its header, and what has been looked at."""

    def __init__(self, tree, monkeypatch):
        self.tree = tree
        self.lint = load("tidy")
        self.looked = tree.path / "looked"
        self.source = str(tree.path / "one.cpp")
        tree.plant("one.cpp", '#include "one.hpp"\n')
        tree.plant("one.hpp", "")
        tree.plant(".clang-tidy", "Checks: '*'\n")
        self.program(CHECKER)
        monkeypatch.setattr(self.lint, "ROOT", tree.path)
        monkeypatch.setattr(self.lint, "BUILD", tree.path / "build")
        monkeypatch.setattr(self.lint, "CLEAN", tree.path / "build/clean")
        monkeypatch.setattr(self.lint, "TIDY", str(tree.path / "checker"))
        monkeypatch.setattr(self.lint, "prepare", lambda: None)
        self.compile()

    def program(self, text):
        """Another checker."""
        self.tree.plant("checker", text.replace("@", str(self.looked)))
        (self.tree.path / "checker").chmod(0o755)

    def compile(self, *words):
        """Compile the source with these arguments."""
        self.tree.plant("build/compile_commands.json", json.dumps([{
            "file": "../one.cpp", "command": " ".join(
                ["ccache g++", *words, "-MD -MQ one.o -MF one.d",
                 "-o one.o -c ../one.cpp"])}]))

    def run(self, *words):
        """The status, and how often the source has been looked at by now."""
        self.lint.content.cache_clear()
        self.lint.checks.cache_clear()
        status = self.lint.main(words)
        return status, len(self.looked.read_text().splitlines())


@pytest.fixture
def project(tree, monkeypatch):
    """One that has been found clean."""
    project = Project(tree, monkeypatch)
    assert project.run() == (0, 1)
    return project


def test_an_unchanged_source_is_known(project):
    assert project.run() == (0, 1)
    assert project.run(project.source) == (0, 1)


@pytest.mark.parametrize("change", [
    lambda project: project.tree.plant("one.cpp",
                                       '#include "one.hpp"\n//\n'),
    lambda project: project.tree.plant("one.hpp", "//\n"),
    lambda project: project.tree.plant(".clang-tidy", "Checks: 'a*'\n"),
    lambda project: project.program(CHECKER.replace("version 1", "version 2")),
    lambda project: project.compile("-DMORE"),
], ids=["source", "header", "checks", "version", "arguments"])
def test_a_changed_one_is_looked_at_once_more(project, change):
    change(project)
    assert project.run() == (0, 2)
    assert project.run() == (0, 2)


def test_a_header_that_goes_is_a_change(project):
    project.tree.plant("one.cpp", "")
    (project.tree.path / "one.hpp").unlink()
    assert project.run() == (0, 2)


def test_a_finding_is_told_each_time(project, capsys):
    project.tree.plant("one.cpp", "// bad\n")
    assert project.run() == (1, 2)
    assert project.run() == (1, 3)
    assert capsys.readouterr().out == "a finding\n\n" * 2
    project.tree.plant("one.cpp", "// good\n")
    assert project.run() == (0, 4)


def test_a_source_that_is_not_compiled(project, capsys):
    assert project.run(project.source + "x") == (1, 1)
    assert capsys.readouterr().err == (
        f"tidy: the build does not compile {project.source}x\n")
