"""The shipped policy on a bus that forbids what is not allowed.

Every other case runs the program under this policy too: what the tool calls
and the policy forgot fails there. Here: nobody else gets through.
"""

import os
import shutil
import subprocess
import xml.etree.ElementTree

import pytest

from harness import environment, sim_env
from scenarios import name_of, path_of, server, storage

POLICY = sim_env.ROOT / "packaging/dbus/zantric.conf"
NOBODY = 65534
CALL = ("busctl", "--timeout=10", "call")
DENIED = ("Sender is not authorized to send message", "Access denied",
          "AccessDenied", "Rejected send message")


def call(user, *words):
    """Status and complaint of one call by a user."""
    result = subprocess.run(
        [*CALL, *words], stdin=subprocess.DEVNULL, capture_output=True,
        text=True, user=user, group=user, env=environment(), check=False)
    return result.returncode, result.stderr


def allowed():
    """(attribute, value) of each rule of the policy."""
    tree = xml.etree.ElementTree.parse(POLICY)
    return [item for rule in tree.iter("allow") for item in rule.items()]


def drives():
    return (name_of("rsa"), path_of("rsa"), "com.mervax.Inventory.Storage",
            "GetDrives", "u", "0")


def test_root_may_call_a_service(bmc):
    bmc.start(server(storage("rsa", {})))
    assert call(0, *drives()) == (0, "")


def test_nobody_else_may(bmc):
    bmc.start(server(storage("rsa", {})))
    status, complaint = call(NOBODY, *drives())
    assert status == 1
    assert any(text in complaint for text in DENIED), complaint
    assert bmc.calls() == []


def test_the_program_says_so_to_other_users(bmc):
    """It ends with 255 and the bus daemon's reason; the service sees nothing.
    """
    bmc.start(server(storage("rsa", {})))
    # The build may be where only root can reach it.
    program = shutil.copy(os.environ["ZANTRIC"], "/run/zantric-for-all")
    result = subprocess.run(
        [program, "-s", "rsa", "-o", "list", "-t", "Drives"],
        stdin=subprocess.DEVNULL, capture_output=True, text=True,
        user=NOBODY, group=NOBODY, env=environment(), check=False)
    assert (result.stdout, result.returncode) == (
        "Failed to get Drives from service rsa\n", 255)
    assert bmc.calls() == []


def test_what_is_not_named_stays_forbidden_to_root(bmc):
    """The bus of the simulator is no open door that would hide a gap."""
    bmc.start(server(storage("rsa", {})))
    status, complaint = call(0, name_of("rsa"), path_of("rsa"),
                             "com.mervax.Other", "Anything")
    assert status == 1
    assert any(text in complaint for text in DENIED), complaint


@pytest.mark.parametrize("kind,value", allowed())
def test_each_rule_is_for_something_the_tool_calls(kind, value):
    """A rule whose name the sources do not hold is one too many."""
    assert kind in ("send_interface", "send_destination")
    sources = [path for folder in ("tool", "io")
               for path in (sim_env.ROOT / folder).rglob("*.[ch]pp")]
    assert any(f'"{value}"' in path.read_text() for path in sources)
