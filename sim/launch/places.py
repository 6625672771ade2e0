# SPDX-License-Identifier: Apache-2.0
"""Where the simulator's parts are: in the source tree, or installed."""

import os
import pathlib

# In the tree this is sim/, else a folder below /usr/share.
HOME = pathlib.Path(__file__).resolve().parents[1]
ROOT = HOME.parent
_IN_TREE = (ROOT / "meson.build").is_file()
SCENARIOS = HOME / "scenarios"
DEMO = HOME / "demo"

if _IN_TREE:
    BUILD = pathlib.Path(os.environ.get("BUILD") or ROOT / "build").resolve()
    TOOLS = [BUILD / "tool"]
    PROGRAM = BUILD / "sim/bmcsim"
    POLICY = ROOT / "packaging/dbus/zantric.conf"
    COMPLETION = ROOT / "completions/zantric"
    PAGES = [ROOT / "man/zantric.8", ROOT / "man/zantric-sim.1"]
    MISSING = "build first, or say where the build is with BUILD"
else:
    BUILD = pathlib.Path("/usr/bin")
    TOOLS = []
    PROGRAM = BUILD / "bmcsim"
    POLICY = pathlib.Path("/usr/share/dbus-1/system.d/zantric.conf")
    COMPLETION = pathlib.Path("/usr/share/bash-completion/completions/zantric")
    PAGES = []
    MISSING = "install the package zantric-sim again"


def scenario(word):
    """The file that a word means: the name of one that comes along, or a
    file's."""
    named = SCENARIOS / f"{word}.json"
    return named if "/" not in word and named.is_file() else pathlib.Path(
        word).resolve()


def scenarios():
    """The names of those that come along."""
    return sorted(path.stem for path in SCENARIOS.glob("*.json"))
