# SPDX-License-Identifier: Apache-2.0
"""What becomes of events, I2C buses and attestation when something goes wrong:
every call of each, every fault. And whether any operation has been left out."""

import os
import pathlib
import re

import pytest

import attest_support as a
import io_cases as i
import scenarios as s
import test_faults_changes
import test_faults_listing
from fault_matrix import (CUT_OFF, INTERRUPTS, OUTPUTS, Operation, Step,
                          fine, said)
from fault_runs import Matrix
from harness import sim_env

ADAPTER = "1e78a200.i2c-bus"
DEFAULT = "a bus that nobody counts the drives of gets the default pool"
UNSERVED = "a bus without a daemon that is known gets one"
KEPT = "an entry of the hidden log is written if it can be"
WRONG_VARIANT = "std::get: wrong index for variant"
NO_LIST = "[ERR] Failed to get mctp service list from obj mapper"
DAEMON_3 = i.smbus_name(3)
DAEMON_5 = i.smbus_name(5)


def text_faults(outcome):
    """The faults that put a text into a property."""
    return {fault: outcome for fault in ("empty string", "malformed JSON",
                                         "JSON null")}


def quiet(journal):
    """A failure that only the journal tells."""
    return said("", journal=journal)


def launches(journal, why):
    """A failure that does not keep the daemon from being started."""
    return fine("", why, journal=journal)


def not_asked(why):
    return quiet(f"[ERR] checking mctp services. {why}")


def still_launches(why):
    return launches(f"[ERR] checking mctp services. {why}", UNSERVED)


NOT_LAUNCHED = "[ERR] enabling mctp service. "
NO_PATH = "[ERR] Failed to get BusPath from "
BUSES = i.adapters({3: ADAPTER, 5: ADAPTER})
ENABLE = Operation(
    "enableMctp", ["-o", "enableMctp", "-a", "3"],
    s.merge(BUSES, s.mapper(), i.drives_on_buses(0x030102), i.daemon(5),
            s.method(i.LAUNCHER, i.LAUNCHER_PATH, i.LAUNCHER_FACE,
                     "LaunchMctpdOverI2C", {"in": "yyyuq", "return": []})),
    "",
    (Step(i.BPM, "Get", "variant",
          launches("[ERR] Failed to get MaxNumOfNVMeDrvOnI2CBuses", DEFAULT),
          lambda why: launches(f"getMaxMctpEpOnBuses exception. {why}",
                               DEFAULT),
          label="Get MaxNumOfNVMeDrvOnI2CBuses", special={
              **text_faults(launches("getMaxMctpEpOnBuses exception. " +
                                     WRONG_VARIANT, DEFAULT)),
              "bus dies": quiet(NOT_LAUNCHED + CUT_OFF)}),
     Step(s.MAPPER, "GetObject", "list", launches(NO_LIST, UNSERVED),
          still_launches, special={
              "bus dies": quiet(NOT_LAUNCHED + CUT_OFF)}),
     Step(DAEMON_5, "Get", "variant", launches(NO_PATH + DAEMON_5, UNSERVED),
          still_launches, label="Get BusPath", special={
              **text_faults(fine("", UNSERVED)),
              "no service": launches(NO_LIST, UNSERVED),
              "no answer": launches(NO_PATH + DAEMON_5, UNSERVED),
              "bus dies": quiet(NOT_LAUNCHED + CUT_OFF)}),
     Step(i.LAUNCHER, "LaunchMctpdOverI2C", "nothing",
          quiet("[ERR] Failed to enable mctp on bus 3"),
          lambda why: quiet(NOT_LAUNCHED + why))))

NOT_FOUND = ("[ERR] Unable to trigger mctp discovery: service not found on "
             "root bus 3")
NOT_TRIGGERED = f"[ERR] Trigger mctp discover on {DAEMON_3} failed. "
DISCOVER = Operation(
    "discover", ["-o", "discover", "-a", "3"],
    s.merge(BUSES, s.mapper(), i.daemon(3)), "",
    (Step(s.MAPPER, "GetObject", "list", quiet(NO_LIST), not_asked),
     Step(DAEMON_3, "Get", "variant", quiet(NO_PATH + DAEMON_3), not_asked,
          label="Get BusPath", special={
              **text_faults(quiet(NOT_FOUND)), "no service": quiet(NO_LIST),
              "no answer": quiet(NO_PATH + DAEMON_3),
              "bus dies": quiet(NO_PATH + DAEMON_3)}),
     Step(DAEMON_3, "TriggerDeviceDiscovery", "nothing",
          quiet(NOT_TRIGGERED), lambda why: quiet(
              f"[ERR] trigger mctp discovery exception. {why}"),
          special={"no service": quiet(NO_LIST)})))

SHOW_I2C = Operation(
    "showI2C", ["-o", "showI2C", "-a", "3"], {"services": {}, **BUSES},
    "/sys/bus/i2c/devices/i2c-3 is a root bus.\n")


def hidden_raised(why):
    return fine("", KEPT, journal=f"[ERR] Generate hidden log of type 2. {why}")


def hidden(name, params, *more):
    """An entry of the hidden log."""
    return Operation(
        name, ["-o", "event", "-p", params], i.eventlog(), "",
        (Step(i.EVENTLOG, "swlogCommit", "nothing",
              fine("", KEPT, journal="[ERR] Failed to generate hidden log of "
                   "type 2"), hidden_raised), *more))


DELAYED = Operation(
    "event, hidden entry, delayed",
    ["-o", "event", "-p", "hide=2;delay=4294967295"], i.eventlog(), "",
    (Step(i.EVENTLOG, "swlogCommit", "nothing", said(""),
          lambda why: said(f"Exception: {why}\n"), waits="timer",
          scenes={INTERRUPTS: i.eventlog()}, label="wait for the delay"),),
    endless=True)

NO_LINK = "Failed to generate link event\nFailed to generate event log\n"
EVENTS = [
    hidden("event, hidden entry", "hide=2"),
    Operation(
        "event, link of a device",
        ["-o", "event", "-a", "0x8c0000", "-p", "link=up;port=1;slot=2"],
        i.eventlog(), "",
        (Step(i.EVENTLOG, "swlogCommit", "nothing", said(NO_LINK),
              lambda why: said(NO_LINK, journal="[ERR] Generate link state "
                               f"audit log. {why}")),)),
    Operation(
        "event, link on the board",
        ["-o", "event", "-a", "0x8c0000", "-p",
         "link=up;port=1;slot=2;name=LOM"], i.eventlog()),
    Operation("event, storage",
              ["-o", "event", "-p", "id=X;severity=1;slot=2"], i.eventlog()),
    Operation("event, temperature",
              ["-o", "event", "-p", "senState=18;slot=2"], i.eventlog()),
]

ATTEST_LINE = "Attest Device: 0x8c0000\n"


def unattested(journal):
    return said(ATTEST_LINE, journal=journal)


NO_SERVICES = "[ERR] Failed to get MCTP services"
ATTEST = Operation(
    "attest", ["-o", "attest", "-a", "0x8c0000"], a.attested(a.device()),
    ATTEST_LINE,
    (Step(s.MAPPER, "GetObject", "list", unattested(NO_SERVICES),
          lambda why: unattested(f"{NO_SERVICES}. {why}"),
          before=ATTEST_LINE),
     Step(s.MCTP, "GetRoutingTable", "bytes",
          unattested(f"[ERR] Failed to get EID table from {s.MCTP}"),
          lambda why: unattested("[ERR] Exception in getting EID table from "
                                 f"{s.MCTP}. {why}"),
          before=ATTEST_LINE, special={
              "no service": unattested(NO_SERVICES)}),
     Step(s.MCTP, a.EXCHANGE, "bytes",
          unattested(f"[ERR] Tx/Rx SPDM msg failed. EID=9, {s.MCTP}"),
          lambda why: unattested("[ERR] Tx/Rx SPDM msg exception. EID=9, "
                                 f"{s.MCTP}. {why}"),
          before=ATTEST_LINE, special={
              "no service": unattested(NO_SERVICES)})))

OPERATIONS = [SHOW_I2C, ENABLE, DISCOVER, *EVENTS, DELAYED, ATTEST]
MATRIX = Matrix("others", OPERATIONS)


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    i.fresh_pstorage()
    a.tidy()
    yield
    i.fresh_pstorage()
    a.tidy()


@pytest.mark.parametrize("operation, step, fault", MATRIX.cases)
def test_fault(bmc, operation, step, fault):
    """It ends as it is to end."""
    MATRIX.run(bmc, operation, step, fault)


def test_the_table_tells_it():
    """The part of docs/reliability.md about the rest."""
    MATRIX.settle()


def sources():
    """The words of the tool's own tables."""
    tool = pathlib.Path(sim_env.ROOT) / "tool"
    table = re.findall(r'\.word = "(\w+)"',
                       (tool / "dispatch.cpp").read_text())
    actions = re.findall(r'"(#Drive\.\w+)"',
                         (tool / "storage/actions.cpp").read_text())
    return table, actions


def test_every_operation_is_here(bmc):
    """Each word that the tool takes, by its source and by its usage text."""
    table, actions = sources()
    usage = re.findall(r"^ {8}(\w+) +#", bmc.run("-h").out, re.MULTILINE)
    assert len(table) >= 13 and len(actions) >= 2
    assert set(usage) <= set(table)
    covered = {operation.word() for group in (
        OPERATIONS, test_faults_changes.OPERATIONS,
        test_faults_listing.OPERATIONS) for operation in group}
    assert covered == {*table, *actions}


@pytest.mark.parametrize("fault", OUTPUTS)
def test_usage_that_cannot_be_written(bmc, fault):
    """The usage text is output like any other."""
    redirection, reason = OUTPUTS[fault]
    result = bmc.run("-c", f'exec "$0" -h {redirection}',
                     os.environ["ZANTRIC"], program="/bin/sh")
    assert result == (
        "", f"zantric: cannot write standard output: {reason}\n", 255)
