# SPDX-License-Identifier: Apache-2.0
"""A copy of the project to plant faults in, and its build."""

import contextlib
import hashlib
import json
import pathlib
import re
import shlex
import subprocess

# As quick to compile as can be; a warning about what is planted catches
# nothing.
_OPTIONS = ("-Db_pch=false", "-Ddebug=false", "-Doptimization=0",
            "-Dwerror=false")
_PLANTED = re.compile(
    r"(tool|io|subprojects/[^/]+/(src|include))/.*\.(cpp|hpp|h)$")


def _run(*words, **options):
    return subprocess.run(words, check=True, text=True,
                          stdout=subprocess.PIPE, **options).stdout


class Sources:
    """What faults are planted in, as a commit has it."""

    def __init__(self, root, commit):
        self.root, self.commit = root, commit

    def names(self):
        """Every such file."""
        listed = _run("git", "-C", self.root, "ls-tree", "-r", "--name-only",
                      self.commit)
        return [name for name in listed.split() if _PLANTED.match(name)]

    def read(self, name):
        """The text of a file."""
        return _run("git", "-C", self.root, "show", f"{self.commit}:{name}")


class Tree:
    """A clone of a commit, so that the project's own tree never changes."""

    def __init__(self, root, folder, commit):
        self.path = pathlib.Path(folder)
        self.build = self.path / "build"
        if not (self.path / ".git").exists():
            _run("git", "clone", "-q", "--shared", root, self.path)
        # It shares the objects, so it knows every commit. What a run that was
        # killed has left is gone with this.
        _run("git", "checkout", "-q", "--force", "--detach", commit,
             cwd=self.path)
        self._original = {}

    def make(self):
        """Builds everything as it is."""
        if not (self.build / "build.ninja").exists():
            _run("meson", "setup", self.build, *_OPTIONS, cwd=self.path)
        built, output = self.compile()
        if not built:
            raise RuntimeError("The tree does not build:\n" + output)

    def read(self, name):
        """The text of a file."""
        return (self.path / name).read_text()

    @contextlib.contextmanager
    def planted(self, name, text):
        """The tree while a file has another text."""
        original = self.read(name)
        try:
            (self.path / name).write_text(text)
            yield
        finally:
            (self.path / name).write_text(original)

    def compile(self, programs=("all",)):
        """Whether programs can be built, and what was said. Nothing is done
        for none."""
        if not programs:
            return True, ""
        result = subprocess.run(
            ["ninja", "-C", self.build, "-j2", *programs], check=False,
            text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return result.returncode == 0, result.stdout

    def remember(self, programs):
        """Takes the programs for what they are without a fault."""
        self._original = {name: self._digest(name) for name in programs}

    def changed(self, programs):
        """Whether a fault has changed one of the programs."""
        return any(self._digest(name) != self._original[name]
                   for name in programs)

    def _digest(self, program):
        return hashlib.sha256((self.build / program).read_bytes()).digest()

    def release_object(self, name):
        """What the optimiser makes of a source; None for a header, or where
        it does not compile."""
        commands = json.loads((self.build / "compile_commands.json")
                              .read_text())
        found = [entry["command"] for entry in commands if
                 (self.build / entry["file"]).resolve() == self.path / name]
        if not found:
            return None
        words = ["-O2" if word == "-O0" else word
                 for word in shlex.split(found[0])]
        target = self.path.parent / (self.path.name + ".o")
        words[words.index("-o") + 1] = str(target)
        words[words.index("-MF") + 1] = str(target) + ".d"
        result = subprocess.run(words, check=False, cwd=self.build,
                                capture_output=True)
        return target.read_bytes() if result.returncode == 0 else None
