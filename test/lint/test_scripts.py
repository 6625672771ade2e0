"""scripts/lint/shell, python, layout and run: findings are failures."""

import shutil
import subprocess

import pytest

from conftest import ROOT

FOLDERS = (".ci", "bench", "completions", "packaging", "scripts", "sim",
           "subprojects", "test", "io", "tool")
WRONG_SHELL = '#!/usr/bin/env bash\nrm $1/x\n'


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
@pytest.mark.parametrize("name, text", [
    ("scripts/planted", WRONG_SHELL),
    (".ci/planted", "#!/bin/sh\nrm $1/x\n"),
    ("bench/planted.sh", "#!/bin/bash\nrm $1/x\n"),
    ("completions/planted", "# shellcheck shell=bash\nrm $1/x\n"),
])
def test_shell(empty, name, text):
    assert empty.lint("shell") == (0, [])
    empty.plant(name, text)
    status, lines = empty.lint("shell")
    assert status == 1
    assert f"In {name} line 2:" in lines
    assert any("SC2086" in line for line in lines)


@needs("flake8")
@pytest.mark.parametrize("name, text, finding", [
    ("sim/launch/planted.py", "import os\n",
     "1:1: F401 'os' imported but unused"),
    ("scripts/planted", "#!/usr/bin/python3\nx = nowhere\n",
     "2:5: F821 undefined name 'nowhere'"),
    ("test/e2e/planted.py", "x=1\n",
     "1:2: E225 missing whitespace around operator"),
    ("bench/planted.py", f"X = \"{'x' * 75}\"\n",
     "1:81: E501 line too long (81 > 80 characters)"),
])
def test_python(empty, name, text, finding):
    assert empty.lint("python") == (0, [])
    empty.plant(name, text)
    assert empty.lint("python") == (1, [f"{name}:{finding}"])


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
    assert result.stderr == ("run: there is no lint rulse, only: layout rules "
                             "mirror sim_rooms shell python tidy\n")
