# SPDX-License-Identifier: Apache-2.0
"""scripts/lint/shell, python, layout and run: findings are failures."""

import shutil
import subprocess

import pytest

from conftest import ROOT

FOLDERS = (".ci", "bench", "completions", "packaging", "scripts", "sim",
           "subprojects", "test", "io", "tool")


@pytest.fixture
def empty(tree):
    """A tree with all folders, and one good file for each lint."""
    for folder in FOLDERS:
        (tree.path / folder).mkdir()
    tree.plant("scripts/good", '#!/bin/sh\nprintf "%s" "$1"\n')
    tree.plant("sim/good.py", '"""Good."""\n')
    tree.plant("io/good.cpp", "int good();\n")
    return tree


def needs(program):
    """Skips where a lint's program is not installed."""
    return pytest.mark.skipif(shutil.which(program) is None,
                              reason=program + " is not installed")


@needs("shellcheck")
def test_shell(empty):
    assert empty.lint("shell") == (0, [])
    names = ["scripts/planted", ".ci/planted", "bench/planted.sh",
             "completions/planted"]
    first = ["#!/usr/bin/env bash", "#!/bin/sh", "#!/bin/bash",
             "# shellcheck shell=bash"]
    for name, line in zip(names, first):
        empty.plant(name, line + "\nrm $1/x\n")
    status, lines = empty.lint("shell")
    assert status == 1
    assert [line for line in lines if line.startswith("In ")] == [
        f"In {name} line 2:" for name in sorted(names)]
    assert any("SC2086" in line for line in lines)


def test_license(empty):
    """The files of git count, so the tree becomes one of its own."""
    line = "SPDX-License-Identifier: Apache-2.0\n"
    for name, text in (("scripts/good", "# "), ("sim/good.py", "# "),
                       ("io/good.cpp", "// ")):
        empty.plant(name, text + line)
    subprocess.run(["git", "-C", empty.path, "init", "-q"], check=True)
    subprocess.run(["git", "-C", empty.path, "add", "-A"], check=True)
    assert empty.lint("license") == (0, [])
    empty.plant("io/good.cpp", "int bad();\n")
    assert empty.lint("license") == (
        1, ["without a licence in the form of SPDX:", "io/good.cpp"])


@needs("flake8")
def test_python(empty):
    assert empty.lint("python") == (0, [])
    empty.plant("sim/launch/planted.py", "import os\n")
    empty.plant("scripts/planted", "#!/usr/bin/python3\nx = nowhere\n")
    empty.plant("test/e2e/planted.py", "x=1\n")
    empty.plant("bench/planted.py", f"X = \"{'x' * 75}\"\n")
    status, lines = empty.lint("python")
    assert status == 1
    assert sorted(lines) == [
        "bench/planted.py:1:81: E501 line too long (81 > 80 characters)",
        "scripts/planted:2:5: F821 undefined name 'nowhere'",
        "sim/launch/planted.py:1:1: F401 'os' imported but unused",
        "test/e2e/planted.py:1:2: E225 missing whitespace around operator"]


@needs("clang-format")
def test_layout(empty):
    shutil.copy(ROOT / ".clang-format", empty.path)
    assert empty.lint("layout") == (0, [])
    empty.plant("tool/planted.hpp", "void f( );\n")
    status, lines = empty.lint("layout")
    assert status != 0
    assert lines[0].startswith("tool/planted.hpp:1:8: error: code should be ")


def test_a_lint_that_there_is_not():
    result = subprocess.run([ROOT / "scripts/lint/run", "rules", "rulse"],
                            check=False, capture_output=True, text=True)
    assert result.returncode == 1
    assert result.stdout == ""
    assert result.stderr == ("run: there is no lint rulse, only: layout "
                             "license rules mirror sim_rooms shell python "
                             "tidy\n")
