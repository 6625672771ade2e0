# SPDX-License-Identifier: Apache-2.0
"""Runs playbooks in the lab and tells what became of each task."""

import json
import pathlib
import subprocess
import time
from typing import NamedTuple

HERE = pathlib.Path(__file__).resolve().parent
RUN = "zantric.fleet.run"


class Record(NamedTuple):
    """What became of a task on a host."""

    host: str
    status: str
    task: str
    result: dict


class Play(NamedTuple):
    """A run of ansible-playbook."""

    records: list
    status: int
    out: str
    seconds: float

    def of(self, host, task=None):
        """The records of a host, in order."""
        return [record for record in self.records if record.host == host
                and task in (None, record.task)]

    def one(self, host, task=None):
        record, = self.of(host, task)
        return record


def task(name, module=RUN, **arguments):
    """A task whose failure does not end the play."""
    return {"name": name, module: arguments, "ignore_errors": True,
            "ignore_unreachable": True}


class Ansible:
    """ansible-playbook, as a user of the lab would call it."""

    def __init__(self, lab):
        self.lab = lab
        self._count = 0

    def _file(self, name):
        self._count += 1
        return self.lab.folder / f"{self._count}-{name}"

    def playbook(self, name, *words, inventory=None, env=None, timeout=300):
        """Runs a playbook: a file, or one of the collection by its name."""
        records = self._file("records")
        environment = self.lab.environment(
            RECORDS=str(records), ANSIBLE_CALLBACKS_ENABLED="records",
            ANSIBLE_CALLBACK_PLUGINS=str(HERE / "callback"),
            ANSIBLE_NOCOLOR="1", **(env or {}))
        command = ["ansible-playbook", str(name), *words]
        if inventory:
            command += ["-i", self._inventory(inventory)]
        start = time.monotonic()
        done = subprocess.run(
            command, env=environment, cwd=self.lab.folder, text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, check=False, timeout=timeout,
            errors="replace")
        lines = records.read_text().splitlines() if records.exists() else []
        return Play([Record(**json.loads(line)) for line in lines],
                    done.returncode, done.stdout, time.monotonic() - start)

    def _inventory(self, hosts):
        file = self._file("hosts.json")
        file.write_text(json.dumps({"all": {"hosts": hosts}}))
        return str(file)

    def play(self, tasks, hosts, *words, **options):
        """Runs tasks on hosts: names with their variables."""
        file = self._file("play.json")
        file.write_text(json.dumps([{
            "name": "test", "hosts": "all", "gather_facts": False,
            "tasks": tasks}]))
        return self.playbook(file, *words, inventory=hosts, **options)

    def run(self, bmc, *words, env=None, variables=None, **arguments):
        """Runs one operation on one BMC: its record."""
        return self.play([task("run", **arguments)],
                         {bmc.name: self.lab.variables(bmc,
                                                       **(variables or {}))},
                         *words, env=env).one(bmc.name)
