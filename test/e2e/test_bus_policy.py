# SPDX-License-Identifier: Apache-2.0
"""The shipped policy on a bus that forbids what is not allowed.

Every other case runs the program under this policy too: what the tool calls
and the policy forgot fails there. Here: nobody else gets through. Both of the
buses that a BMC may have read the policy, so each case is run on either.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import xml.etree.ElementTree

import pytest

import scenarios as s
from changes import ADDRESS, GONE, OPERATIONS, done, updated_after
from expect import ended
from harness import OwnBus, environment, sim_env
from test_firmware import FACE, UPDATE, accepted, at, record, tick

NAME = s.name_of("rsa")
PATH = s.path_of("rsa")
NOBODY = 65534
DENIED = ("Sender is not authorized to send message", "Access denied",
          "AccessDenied", "Rejected send message")
DAEMONS = {"dbus-daemon": sim_env.start_bus_at,
           "dbus-broker": sim_env.start_broker_at}
#: What a platform adds, as the manual of behaviour has it.
ADDITION = re.search(r"<busconfig>.*?</busconfig>", (
    sim_env.ROOT / "docs/behaviour.md").read_text(), re.DOTALL)[0]


class Bus(OwnBus):
    """A bus that every user of the machine reaches."""

    def __init__(self, folder, daemon, *more):
        folder.mkdir(parents=True)
        super().__init__(folder, DAEMONS[daemon],
                         policies=(sim_env.POLICY, *more))

    def ask(self, user, *words):
        """Status, output and complaint of a bus client run by a user."""
        result = subprocess.run(
            ["busctl", "--timeout=5", "--json=short", *words],
            stdin=subprocess.DEVNULL, capture_output=True, text=True,
            user=user, group=user, env=environment(self.environment),
            check=False)
        return result.returncode, result.stdout, result.stderr

    def call(self, user, *words):
        """Status and complaint of one call by a user."""
        status, _, complaint = self.ask(user, "call", *words)
        return status, complaint

    def names(self):
        """(name, user, process) of each connection."""
        _, out, _ = self.ask(0, "list", "--unique")
        return [(item["connection"], item["user"], item["pid"])
                for item in json.loads(out)]

    def emit(self, user, *words):
        """A signal by a user; returns when the bus is done with it."""
        assert self.ask(user, "emit", *words) == (0, "", "")
        while user != 0 and any(who == "nobody" for _, who, _ in self.names()):
            pass


@pytest.fixture(name="daemon", params=DAEMONS)
def fixture_daemon(request):
    """Either of the two buses."""
    return request.param


@pytest.fixture(name="bus")
def fixture_bus(daemon, bmc):
    """A bus with the shipped policy alone."""
    # Below /run, since other users do not get into a test's own folder.
    bus = Bus(pathlib.Path("/run") / bmc.folder.name, daemon)
    yield bus
    bus.kill()


def drives():
    return (NAME, PATH, s.STORAGE, "GetDrives", "u", "0")


def served(bmc, bus):
    """A storage service without devices."""
    bmc.start(s.server(s.storage("rsa", {})), bus.address)


def test_root_may_call_a_service(bmc, bus):
    served(bmc, bus)
    assert bus.call(0, *drives()) == (0, "")


def test_nobody_else_may(bmc, bus):
    served(bmc, bus)
    status, complaint = bus.call(NOBODY, *drives())
    assert status == 1
    assert any(text in complaint for text in DENIED), complaint
    assert bmc.calls() == []


def test_the_program_says_so_to_other_users(bmc, bus):
    """It ends with 255 and the bus daemon's reason; the service sees nothing.
    """
    served(bmc, bus)
    # The build may be where only root can reach it.
    program = shutil.copy(os.environ["ZANTRIC"], "/run/zantric-for-all")
    result = subprocess.run(
        [program, "-s", "rsa", "-o", "list", "-t", "Drives"],
        stdin=subprocess.DEVNULL, capture_output=True, text=True,
        user=NOBODY, group=NOBODY, env=environment(bus.environment),
        check=False)
    assert (result.stdout, result.returncode) == (
        "Failed to get Drives from service rsa\n", 255)
    assert bmc.calls() == []


@pytest.mark.parametrize("words", [
    ("com.mervax.Other", "Anything"),
    (s.PROPERTIES, "Get", "ss", s.STORAGE, "Any"),
    (s.PROPERTIES, "Set", "ssv", s.STORAGE, "Any", "s", "x"),
], ids=["interface", "read", "write"])
def test_what_is_not_named_stays_forbidden_to_root(bmc, bus, words):
    """The bus of the simulator is no open door that would hide a gap."""
    served(bmc, bus)
    status, complaint = bus.call(0, NAME, PATH, *words)
    assert status == 1
    assert any(text in complaint for text in DENIED), complaint
    assert bmc.calls() == []


class Wait:
    """A run that waits for a signal: how it gets there, and the signal."""

    def __init__(self, scenario, words, before, signal, after):
        self.scenario = scenario
        self.words = words
        #: What is printed up to the wait, and when the bus is gone.
        self.before = before
        self.after = after
        self.signal = signal

    def start(self, bmc, bus):
        """The run; returns while it waits."""
        bmc.start(self.scenario, bus.address)
        session = bmc.spawn(*self.words, env=bus.environment)
        bmc.wait_call(self.member())
        # The service is done with the call, and the bus with its reply.
        for _ in range(2):
            bus.call(0, *drives())
        return session

    def member(self):
        """The method that the run calls."""
        face, = self.scenario["services"][NAME]["objects"][PATH].values()
        return next(iter(face["methods"]))


WAITS = {
    "delete": Wait(
        OPERATIONS["delete"].play(done()), OPERATIONS["delete"].words, "",
        (PATH, s.STORAGE, "StorageResourceUpdated", "uss", str(ADDRESS),
         "Volumes", "{}"),
        f"deleteVolume exception: {GONE}"),
    "update": Wait(
        accepted(tick(record(5))),
        [*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1"], at(5),
        (PATH, FACE, "DeviceUpdateStatusChanged", "s",
         json.dumps(record(100, 2))),
        "Exception: " + GONE),
}


@pytest.fixture(name="wait", params=WAITS)
def fixture_wait(request):
    """Either of the two signals that are waited for."""
    return WAITS[request.param]


def addressed(bus, session, how):
    """The words that send a signal to everybody or to the run alone."""
    if how == "broadcast":
        return ()
    own, = (name for name, _, process in bus.names()
            if process == session.process.pid)
    return (f"--destination={own}",)


@pytest.mark.parametrize("how", ["broadcast", "addressed"])
def test_nobody_else_ends_a_wait(bmc, bus, wait, how):
    """Had the bus passed the signal on, the run would read it before it sees
    that the bus is gone."""
    session = wait.start(bmc, bus)
    bus.emit(NOBODY, *addressed(bus, session, how), *wait.signal)
    bus.kill()
    ended(session.end(), out=wait.before + wait.after, status=255)


def finished(wait, session):
    """The run was told of the end."""
    if wait is WAITS["update"]:
        ended(session.end(), out=wait.before + at(100, 2))
    else:
        updated_after(session.end())


@pytest.mark.parametrize("how", ["broadcast", "addressed"])
def test_root_ends_a_wait(bmc, bus, wait, how):
    """The services of a BMC run as root."""
    session = wait.start(bmc, bus)
    bus.emit(0, *addressed(bus, session, how), *wait.signal)
    finished(wait, session)


def test_a_service_that_is_not_root_is_named_by_its_platform(
        bmc, daemon, wait):
    """By what the documents say that it adds."""
    folder = pathlib.Path("/run") / bmc.folder.name
    file = bmc.folder / "platform.conf"
    file.write_text(re.sub(r'user="\w+"', 'user="nobody"', ADDITION))
    bus = Bus(folder, daemon, file)
    try:
        session = wait.start(bmc, bus)
        bus.emit(NOBODY, *wait.signal)
        finished(wait, session)
    finally:
        bus.kill()


def rules():
    """(attribute, value) of all rules of the policy, once each."""
    tree = xml.etree.ElementTree.parse(sim_env.POLICY)
    return sorted({item for kind in ("allow", "deny")
                   for rule in tree.iter(kind) for item in rule.items()
                   if item != ("send_type", "signal")})


@pytest.mark.parametrize("kind,value", rules())
def test_each_rule_is_for_something_the_tool_names(kind, value):
    """A rule whose name the sources do not hold is one too many."""
    assert kind in ("send_interface", "send_destination", "send_path",
                    "send_member")
    sources = [path for folder in ("tool", "io")
               for path in (sim_env.ROOT / folder).rglob("*.[ch]pp")]
    quoted = re.compile(f"[\"']{re.escape(value)}[\"']")
    assert any(quoted.search(path.read_text()) for path in sources)
