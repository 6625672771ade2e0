# SPDX-License-Identifier: Apache-2.0
"""What the tests of scripts/lint share."""

import importlib.machinery
import importlib.util
import pathlib
import shutil
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def load(name):
    """A lint that is written in Python, as a module."""
    loader = importlib.machinery.SourceFileLoader(
        "lint_" + name, str(ROOT / "scripts/lint" / name))
    spec = importlib.util.spec_from_loader(loader.name, loader)
    module = importlib.util.module_from_spec(spec)
    loader.exec_module(module)
    return module


class Tree:
    """Some folders of the project, to plant something in."""

    def __init__(self, path):
        self.path = path

    def copy(self, *folders):
        """These folders as the project has them."""
        for folder in folders:
            shutil.copytree(ROOT / folder, self.path / folder,
                            ignore=shutil.ignore_patterns("__pycache__"))

    def plant(self, name, text):
        """A file more, or another one."""
        path = self.path / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def lint(self, name):
        """The status and the lines that a lint prints about the tree."""
        result = subprocess.run(
            [ROOT / "scripts/lint" / name, self.path], check=False,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return result.returncode, result.stdout.splitlines()


@pytest.fixture
def tree(tmp_path):
    """An empty tree."""
    return Tree(tmp_path)
