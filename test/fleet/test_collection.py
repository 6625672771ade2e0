# SPDX-License-Identifier: Apache-2.0
"""The collection as Ansible's own tools see it, and its command."""

import importlib
import json
import shutil
import subprocess
import sys

import pytest
from plays import task
from variants import items
from world import ROOT

MODULES = ("run", "inventory", "attest", "report")
FILTERS = ("show", "show_notes", "list", "pcie", "backplanes", "firmware",
           "firmware_wrong", "broken")
# The others need packages from the network.
SANITY = ("action-plugin-docs", "compile", "empty-init",
          "future-import-boilerplate", "line-endings",
          "metaclass-boilerplate", "no-assert", "no-basestring",
          "no-dict-iteritems", "no-get-exception", "no-illegal-filenames",
          "no-smart-quotes", "replace-urlopen", "shebang", "symlinks",
          "use-argspec-type-path", "use-compat-six")
COMMAND = ROOT / "fleet/zantric-json"


def told(lab, *words, check=True, **options):
    """What a command prints in the lab's environment."""
    return subprocess.run(words, env=lab.environment(), cwd=lab.folder,
                          check=check, stdin=subprocess.DEVNULL, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=300, **options)


@pytest.mark.parametrize("name", MODULES)
def test_a_module_is_documented_as_it_is(lab, name):
    out = told(lab, "ansible-doc", "--json", f"zantric.fleet.{name}").stdout
    documented = json.loads(out)[f"zantric.fleet.{name}"]["doc"]
    sys.path.insert(0, str(ROOT / "fleet/plugins/modules"))
    try:
        arguments = importlib.import_module(name).ARGUMENTS
    finally:
        sys.path.pop(0)
    assert {key: {what: value.get(what) for what in
                  ("type", "default", "choices", "elements")}
            for key, value in documented["options"].items()} == {
        key: {what: value.get(what) for what in
              ("type", "default", "choices", "elements")}
        for key, value in arguments.items()}
    # It was installed from its archive, and is used from another folder.
    assert documented["filename"].startswith(str(lab.folder / "collections"))


@pytest.mark.parametrize("name", FILTERS)
def test_a_filter_is_documented(lab, name):
    out = told(lab, "ansible-doc", "-t", "filter", f"zantric.fleet.{name}")
    assert name.upper() in out.stdout


def test_lint(lab):
    installed = lab.folder / "collections"
    done = subprocess.run(
        ["ansible-lint", "--offline", "--nocolor", "--profile", "production"],
        cwd=installed / "ansible_collections/zantric/fleet",
        env=lab.environment(ANSIBLE_COLLECTIONS_PATH=str(installed)),
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT, text=True, timeout=300, check=False)
    assert done.returncode == 0, done.stdout


def test_sanity(lab):
    """In a copy of its own: the tool wants a repository around it."""
    folder = lab.folder / "sanity/ansible_collections/zantric/fleet"
    shutil.copytree(ROOT / "fleet", folder, ignore=lambda path, names: [
        name for name in names if name == "__pycache__"])
    for words in (("git", "init", "-q"), ("git", "add", "-A")):
        subprocess.run(words, cwd=folder, check=True)
    version = f"{sys.version_info[0]}.{sys.version_info[1]}"
    done = subprocess.run(
        ["ansible-test", "sanity", "--python", version,
         *(word for name in SANITY for word in ("--test", name))],
        cwd=folder, env=lab.environment(), stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
        timeout=300, check=False)
    assert done.returncode == 0, done.stdout


def test_there_is_no_python_on_a_bmc(lab, ansible):
    bmc = lab.bmcs["bmc01"]
    play = ansible.play(
        [task("which", "ansible.builtin.raw",
              _raw_params="command -v python3 || command -v python || echo no")
         ], {bmc.name: lab.variables(bmc)})
    assert play.one(bmc.name).result["stdout"].strip() == "no"


def command(*words, text):
    return subprocess.run([COMMAND, *words], input=text, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          check=False)


def test_the_command_makes_json(lab, ansible):
    bmc = lab.bmcs["bmc01"]
    record = ansible.run(bmc, operation="show", service="rsa",
                         address="0x8c0000", target="Drives")
    own = json.loads((bmc.folder / "own.json").read_text())
    done = command("show", text=record.result["stdout"])
    assert (done.returncode, done.stderr) == (0, "")
    assert json.loads(done.stdout)["Drives"] == items(own, "Drives")[:16]


@pytest.mark.parametrize("words, text", [
    (["show"], "Failed to get device 0x1 from rsa\n"), (["list"], "x\n"),
    (["pcie"], "x\n"), (["firmware"], "x\n"), (["backplanes"], "x\n"),
    (["reference"], "{}"), (["reference"], "x"), (["what"], ""), ([], "")])
def test_the_command_refuses_the_rest(words, text):
    done = command(*words, text=text)
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr and "Traceback" not in done.stderr


def test_a_volume_that_lies(lab, ansible):
    """Its name makes a second row of a volume that is not there."""
    bmc = lab.bmcs["bmc02"]
    scenario = json.loads((bmc.folder / "own.json").read_text())
    lie = ("a, ResId 7, RAID1, 1.00GiB; StripSize=1KB, Off, Off, "
           "WtCacheState=Off\n  b")
    items(scenario, "Volumes")[0]["Name"] = lie
    bmc.play(scenario)
    listed = ansible.run(bmc, operation="list", target="Volumes")
    rows = json.loads(command("list", text=listed.result["stdout"]).stdout)
    assert not rows["counted"]
    assert not [row for row in rows["rows"] if row["certain"]]
    shown = ansible.run(bmc, operation="show", service="rsa",
                        address="0x8c0000", target="Volumes")
    document = json.loads(command("show", text=shown.result["stdout"]).stdout)
    assert document["Volumes"][0]["Name"] == lie
    bmc.restore()


def test_health_and_inventory_tell_the_truth(lab, ansible, tmp_path):
    play = ansible.playbook("zantric.fleet.health", "-e",
                            "target=bmc03,bmc04,bmc05")
    messages = {record.host: record.result["msg"] for record in play.records
                if record.status == "failed"}
    assert "drive at 0x8c0000: Drive 3" in messages["bmc03"]
    assert "volume at 0x8c0000: boot" in messages["bmc04"]
    assert "bmc05" not in messages
    play = ansible.playbook(
        "zantric.fleet.inventory", "-e", "target=bmc03", "-e", "attest=true",
        "-e", f"output={tmp_path}")
    assert "9 failed, 3 unanchored" in play.out
    assert "unanchored" in (tmp_path / "inventory.html").read_text()
