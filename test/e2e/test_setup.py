# SPDX-License-Identifier: Apache-2.0
"""What `meson setup` says of the libraries, and what it refuses."""

import hashlib
import os
import re
import subprocess

import pytest

from harness import sim_env

#: Of a library that an SDK has: enough for the setup, which compiles nothing.
DESCRIPTION = "Name: it\nDescription: it\nVersion: 1.0\n"


@pytest.fixture(name="setup")
def fixture_setup(tmp_path):
    """Configures a build on an SDK that has all but libspdm."""
    for name in ("sdbusplus", "phosphor-logging"):
        (tmp_path / f"{name}.pc").write_text(DESCRIPTION)

    def run(*options):
        found = subprocess.run(
            ["meson", "setup", tmp_path / "build", sim_env.ROOT,
             "-Dsim=disabled", "-Dtests=disabled", *options],
            stdin=subprocess.DEVNULL, capture_output=True, text=True,
            check=False,
            env={**os.environ, "PKG_CONFIG_PATH": str(tmp_path)})
        return found.returncode, found.stdout
    return run


def test_attestation_does_not_come_from_the_tree_unasked(setup):
    """What is missing is said in one sentence."""
    status, said = setup("--wrap-mode=nofallback", "-Dattest=enabled")
    assert status == 1
    assert ("ERROR: Problem encountered: attest needs libspdm: install it with "
            "its pkg-config file or with its archives and its headers in "
            "include/libspdm, or do without by -Dattest=disabled.\n") in said


def test_attestation_is_left_out_where_it_may_be(setup):
    """And the summary says so."""
    status, said = setup("--wrap-mode=nofallback", "-Dattest=auto")
    assert (status, "attest          : left out\n" in said) == (0, True), said


def test_the_summary_tells_the_stand_ins(setup):
    """The requester of the tree, beside libraries of the SDK."""
    status, said = setup()
    assert status == 0
    for line in ("sdbusplus       : 1.0", "phosphor-logging: 1.0",
                 "attest          : on the requester in subprojects/libspdm",
                 "C++ runtime     : shared"):
        assert line in said, said


def test_the_layers_recipe_is_of_this_tree():
    """Its version, the checksum of the licence, and the programs it packs."""
    recipe, = sim_env.ROOT.glob("packaging/yocto/meta-*/recipes-*/*/*.bb")
    text = recipe.read_text()
    project = (sim_env.ROOT / "meson.build").read_text()
    version = re.search(r"^    version: '(.*)',$", project, re.M)[1]
    assert f'PV = "{version}+git"\n' in text
    digest = hashlib.md5((sim_env.ROOT / "LICENSE").read_bytes()).hexdigest()
    assert f'"file://LICENSE;md5={digest}"\n' in text
    programs = re.search(r"for program in (.*?); do", text, re.S)[1]
    for program in programs.replace("\\", " ").split():
        folder, name = program.split("/")
        assert f"'{name}'," in (sim_env.ROOT / "test" / folder
                                / "meson.build").read_text()
