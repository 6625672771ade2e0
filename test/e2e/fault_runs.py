# SPDX-License-Identifier: Apache-2.0
"""Carries out the cases of a fault matrix and checks each."""

import os
import signal

import pytest

import fault_matrix as m
import fault_report
from harness import OwnBus
from io_cases import SOON, wait_armed

WHOLE = "the run"
NOWHERE = {"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/run/no-such-bus"}


def cases(operations):
    """A pytest parameter for each case of the operations."""
    for operation in operations:
        for fault in () if operation.endless else ("no bus", *m.OUTPUTS):
            yield pytest.param(operation, None, fault,
                               id=f"{operation.name}-{fault}")
        for step in operation.steps:
            for fault in step.faults():
                yield pytest.param(
                    operation, step, fault,
                    id=f"{operation.name}-{step.name()}-{fault}")


def _lost(bmc, operation, fault):
    """A run that would succeed but for its standard output."""
    redirection, reason = m.OUTPUTS[fault]
    bmc.start(operation.scenario)
    result = bmc.run("-c", f'exec "$0" "$@" {redirection}',
                     os.environ["ZANTRIC"], *operation.words,
                     program="/bin/sh")
    _same(result.out, "")
    if not operation.out:
        _same((result.err, result.status), ("", 0))
        return m.fine("", "it prints nothing")
    message = f"zantric: cannot write standard output: {reason}\n"
    _same((result.err, result.status), (message, 255))
    return m.said(message)


def _interrupted(bmc, operation, step, fault):
    """A run that is met by the fault in its wait."""
    bus = OwnBus(bmc.folder)
    try:
        bmc.start(step.scenario(fault, operation.scenario), bus.address)
        session = bmc.spawn(*operation.words, env=bus.environment)
        _wait_met(bmc, step, session, bus)
        if fault == "SIGTERM":
            session.signal(signal.SIGTERM)
            return session.end()
    finally:
        bus.kill()
    return session.end()


def _wait_met(bmc, step, session, bus):
    """Until the run is where the fault is to meet it."""
    if step.waits == "timer":
        wait_armed(session)
        return
    wanted = step.match.get("args", [])
    count = 1
    while True:
        # Others are asked for members of the same name.
        call = bmc.wait_call(step.member, count)
        if (call.destination == step.owner and
                call.args[:len(wanted)] == wanted):
            break
        count += 1
    # Two round trips through the service: behind them its reply is through.
    for _ in range(2 if step.waits else 0):
        bmc.run("--system", "call", step.owner, "/",
                "org.freedesktop.DBus.Peer", "Ping",
                program="busctl", env=bus.environment)


def _met(bmc, operation, step, fault):
    """A run that is met by the fault."""
    if fault == "no bus":
        return bmc.run(*operation.words, env=NOWHERE)
    if fault in m.INTERRUPTS:
        return _interrupted(bmc, operation, step, fault)
    bmc.start(step.scenario(fault, operation.scenario))
    return bmc.run(*operation.words,
                   env=SOON if fault == "no answer" else None)


def _told(bmc, outcome):
    """A failure says why, on standard output or in the journal."""
    if outcome.status != -15:
        assert outcome.why or outcome.journal or (
            outcome.status == 255 and outcome.out.strip())
    if outcome.journal:
        texts = [text for _, text in bmc.messages()]
        assert any(outcome.journal in text for text in texts), texts


def _same(got, wanted):
    """What pytest would tell of MBs of output would take it minutes."""
    assert got == wanted, f"{str(got)[-900:]!r} but not {str(wanted)[-900:]!r}"


def play(bmc, operation, step, fault):
    """Runs a case and checks it; what it says in the table."""
    if fault in m.OUTPUTS:
        return WHOLE, _lost(bmc, operation, fault)
    wanted = m.said(m.NO_BUS) if step is None else step.expected(fault)
    result = _met(bmc, operation, step, fault)
    _same(m.steady(result.out), wanted.out)
    _same((result.err, result.status), ("", wanted.status))
    _told(bmc, wanted)
    return WHOLE if step is None else step.name(), wanted


def _around():
    """The files where the tool may leave some; not what the simulator has
    as long as it runs."""
    return {folder: sorted(set(os.listdir(folder)) - {"bmcsim"})
            for folder in ("/run", "/tmp")}


class Matrix:
    """The results of a group of operations, for the table."""

    def __init__(self, group, operations):
        self.group = group
        self.cases = list(cases(operations))
        self.results = {}

    def run(self, bmc, operation, step, fault):
        """One case, which must leave nothing behind."""
        before = _around()
        name, outcome = play(bmc, operation, step, fault)
        assert _around() == before
        self.results[operation.name, name, fault] = outcome

    def settle(self):
        """All cases are in the table as they came out."""
        wanted = [(operation, WHOLE if step is None else step.name(), fault)
                  for operation, step, fault in (
                      case.values for case in self.cases)]
        names = [(operation.name, *rest) for operation, *rest in wanted]
        assert len(set(names)) == len(names)
        assert set(names) == set(self.results), (
            "some cases failed or were left out")
        fault_report.settle(self.group, [
            (*case, self.results[name]) for case, name in zip(wanted, names)])
