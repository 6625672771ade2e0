# SPDX-License-Identifier: Apache-2.0
"""The lab: simulated BMCs on this machine, and Ansible's view of them."""

import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile

from bmc import Bmc, end, everything
from variants import scenario_of
from world import ROOT

_CONFIG = """[defaults]
inventory = {folder}/hosts.json
collections_path = {folder}/collections
home = {folder}/home
local_tmp = {folder}/home/tmp
remote_tmp = /tmp
host_key_checking = True
retry_files_enabled = False
interpreter_python = auto_silent
gathering = explicit
forks = {forks}
timeout = 5
[ssh_connection]
control_path_dir = {folder}/cp
ssh_args = -F /dev/null -o UserKnownHostsFile={folder}/known_hosts \
-o GlobalKnownHostsFile=/dev/null -o ControlMaster=auto -o ControlPersist=20s
"""


class Lab:
    """So many BMCs, and a folder with all that Ansible needs for them."""

    def __init__(self, count, build, forks=16):
        self.build = pathlib.Path(build).resolve()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zantric-fleet-"))
        self.bmcs = {}
        self._forks = forks
        self._count = count
        self._listeners = []

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        """Ends what is in the BMCs, and the connections to them."""
        worlds = {bmc.world for bmc in self.bmcs.values()}
        for bmc in self.bmcs.values():
            bmc.close()
        mine = [pid for pid, world, line in everything()
                if world in worlds or str(self.folder) in line]
        for pid in mine:
            if pid != os.getpid():
                end(pid)
        for listener in self._listeners:
            listener.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _start(self):
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f",
                        self.folder / "key"], check=True)
        (self.folder / "cp").mkdir(mode=0o700)
        for number in range(1, self._count + 1):
            name = f"bmc{number:02d}"
            self.bmcs[name] = self._bmc(name, number)
        for bmc in self.bmcs.values():
            bmc.wait()
        self.write_inventory()
        (self.folder / "ansible.cfg").write_text(
            _CONFIG.format(folder=self.folder, forks=self._forks))
        install_collection(self.folder)

    def _bmc(self, name, number):
        folder = self.folder / name
        folder.mkdir()
        (folder / "own.json").write_text(json.dumps(scenario_of(number)))
        key = folder / "host_key"
        made = subprocess.run(
            ["dropbearkey", "-t", "ed25519", "-f", key], check=True, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        line = [line for line in made.split("\n") if line.startswith("ssh-")]
        return Bmc(name, folder, {
            "build": str(self.build), "folder": str(folder),
            "host_key": str(key),
            "port": free_port(), "key_line": " ".join(line[0].split()[:2]),
            "scenario": str(folder / "own.json"),
            "key": (self.folder / "key.pub").read_text()})

    def variables(self, bmc, **more):
        """What leads Ansible to a BMC."""
        return {"ansible_host": "127.0.0.1", "ansible_port": bmc.port,
                "ansible_user": "root", "ansible_ssh_private_key_file":
                str(self.folder / "key"), **more}

    def write_inventory(self, more=None):
        """The BMCs, and further hosts: names with their variables."""
        hosts = {name: self.variables(bmc) for name, bmc in self.bmcs.items()}
        (self.folder / "hosts.json").write_text(json.dumps(
            {"all": {"hosts": {**hosts, **(more or {})}}}))
        self.trust(*((bmc.port, bmc.key_line) for bmc in self.bmcs.values()))

    def trust(self, *keys):
        """Adds host keys: pairs of port and key."""
        with open(self.folder / "known_hosts", "a", encoding="utf-8") as file:
            for port, key in keys:
                file.write(f"[127.0.0.1]:{port} {key}\n")

    def distrust(self, bmc):
        """Makes Ansible expect another host key."""
        self._expect(bmc, self.bmcs["bmc01"].key_line)

    def trust_again(self, bmc):
        """Makes Ansible expect the right host key."""
        self._expect(bmc, bmc.key_line)

    def _expect(self, bmc, key):
        file = self.folder / "known_hosts"
        lines = [f"[127.0.0.1]:{bmc.port} {key}"
                 if line.startswith(f"[127.0.0.1]:{bmc.port} ") else line
                 for line in file.read_text().splitlines()]
        file.write_text("\n".join(lines) + "\n")

    @staticmethod
    def make_key(file):
        """Makes a key that no BMC knows."""
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f",
                        file], check=True)

    def silent_port(self):
        """A port where connections are taken and nothing is said."""
        listener = socket.create_server(("127.0.0.1", 0))
        self._listeners.append(listener)
        return listener.getsockname()[1]

    def environment(self, **more):
        """What makes Ansible see this lab, and nothing of the user's own."""
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith("ANSIBLE_")}
        return {**kept, "ANSIBLE_CONFIG": str(self.folder / "ansible.cfg"),
                "ANSIBLE_HOME": str(self.folder / "home"),
                "LC_ALL": "C.UTF-8", **more}


def install_collection(folder):
    """Builds the collection's archive and installs it, as a user would."""
    quiet = {"check": True, "stdout": subprocess.PIPE,
             "stderr": subprocess.STDOUT,
             "env": {**os.environ, "ANSIBLE_HOME": str(folder / "home"),
                     "LC_ALL": "C.UTF-8"}}
    subprocess.run(["ansible-galaxy", "collection", "build", ROOT / "fleet",
                    "--output-path", folder], **quiet)
    archive, = folder.glob("zantric-fleet-*.tar.gz")
    subprocess.run(["ansible-galaxy", "collection", "install", archive,
                    "--collections-path", folder / "collections"], **quiet)


def free_port():
    """A loopback port that nobody listens at."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def interrupt_as_exit():
    """Lets signals that end the lab clean up behind it."""
    def leave(number, _frame):
        raise SystemExit(128 + number)
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, leave)
