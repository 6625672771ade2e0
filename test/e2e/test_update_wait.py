# SPDX-License-Identifier: Apache-2.0
"""The wait for refreshed data after a change: every operation that waits,
every time at which the signal may come, and what else may happen."""

import signal

import pytest

import scenarios as s
from changes import (ADDRESS, GONE, NAME, NO_REPLY, NO_VALUE, OPERATIONS, PATH,
                     done, update_signal, updated, updated_after)
from expect import ended
from harness import OwnBus


@pytest.fixture(params=OPERATIONS)
def operation(request):
    """Every operation that waits."""
    return OPERATIONS[request.param]


def emit(bmc, *arguments, signature="uss", bus=None):
    """Somebody else on the bus sends the signal."""
    result = bmc.run("--system", "emit", PATH, s.STORAGE,
                     "StorageResourceUpdated", signature, *arguments,
                     program="busctl", env=bus)
    assert (result.err, result.status) == ("", 0)


def ping(bmc, bus=None):
    """A round trip through the bus to the simulator, so that what the
    simulator sent before has gone through the bus."""
    result = bmc.run("--system", "call", NAME, PATH, s.STORAGE, "Ping",
                     program="busctl", env=bus)
    assert (result.out, result.err, result.status) == ("", "", 0)


def waiting(bmc, operation, bus=None):
    """A run whose call was answered and that gets no signal."""
    bmc.start(s.merge(operation.play(done()),
                      s.method(NAME, PATH, s.STORAGE, "Ping",
                               {"return": []})),
              **({"bus": bus.address} if bus else {}))
    environment = bus.environment if bus else None
    session = bmc.spawn(*operation.words, env=environment)
    bmc.wait_call(operation.call.member)
    ping(bmc, environment)
    ping(bmc, environment)
    return session


@pytest.mark.parametrize("reply", [
    done(before=[update_signal()]),
    done(update_signal()),
    done(update_signal(delay_ms=300)),
], ids=["before", "behind", "late"])
def test_the_signal_ends_the_run_whenever_it_comes(bmc, operation, reply):
    """Before the reply, right behind it, or long after."""
    bmc.start(operation.play(reply))
    updated_after(bmc.run(*operation.words), operation.printed)
    assert bmc.calls() == [operation.call]


def test_a_call_that_is_refused(bmc, operation):
    """The error reply has words of its own; nothing is waited for and the
    call is not repeated."""
    bmc.start(operation.play(s.error()))
    ended(bmc.run(*operation.words), status=255,
          out=operation.printed + operation.refused)
    assert bmc.calls() == [operation.call]


@pytest.mark.parametrize("result", [1, -1, -2147483648])
def test_a_result_other_than_zero(bmc, operation, result):
    """A signal that came meanwhile does not make it a success."""
    bmc.start(operation.play(done(result=result, before=[update_signal()])))
    ended(bmc.run(*operation.words), status=255,
          out=operation.printed + operation.failed)
    assert bmc.calls() == [operation.call]


@pytest.mark.parametrize("reply", [
    {"out": "s", "return": ["0"]}, {"out": "u", "return": [0]},
    {"return": []}], ids=["text", "unsigned", "nothing"])
def test_a_reply_without_a_result(bmc, operation, reply):
    """Reading it fails."""
    bmc.start(operation.play(reply))
    ended(bmc.run(*operation.words), status=255,
          out=f"{operation.printed}{operation.thrown}{NO_VALUE}")
    assert bmc.calls() == [operation.call]


def test_no_service(bmc, operation):
    """The bus itself refuses the call."""
    bmc.start(s.mapper())
    ended(bmc.run(*operation.words), status=255,
          out=operation.printed + operation.refused)


def test_a_service_that_dies_in_the_call(bmc, operation):
    """The bus answers in its place; the call is not repeated."""
    bmc.start(operation.play({"die": True}))
    ended(bmc.run(*operation.words), status=255,
          out=operation.printed + operation.refused)
    assert bmc.calls() == [operation.call]


def test_a_service_that_does_not_answer(bmc, operation):
    """The library's own time-out is an exception."""
    bmc.start(operation.play({"silent": True}))
    ended(bmc.run(*operation.words, env={"SYSTEMD_BUS_TIMEOUT": "200ms"}),
          out=f"{operation.printed}{operation.thrown}{NO_REPLY}",
          status=255)
    assert bmc.calls() == [operation.call]


def test_a_service_that_dies_in_the_wait(bmc, operation):
    """The wait has no limit and no sender: it goes on until somebody sends
    the signal."""
    bmc.start(operation.play(done(die_after_ms=0)))
    session = bmc.spawn(*operation.words)
    bmc.wait_call(operation.call.member)
    emit(bmc, str(ADDRESS), "somebody else's", "{}")
    updated_after(session.end(), operation.printed, "somebody else's")


def test_a_bus_that_dies_in_the_wait(bmc, operation):
    """The run ends and says why."""
    bus = OwnBus(bmc.folder)
    try:
        session = waiting(bmc, operation, bus)
    finally:
        bus.kill()
    ended(session.end(), status=255,
          out=f"{operation.printed}{operation.thrown}{GONE}")
    assert [call.member for call in bmc.calls()] == [operation.call.member,
                                                     "Ping", "Ping"]


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_a_signal_ends_the_wait_at_once(bmc, operation, number):
    """As it ends any program; what was printed is out already."""
    session = waiting(bmc, operation)
    session.signal(number)
    ended(session.end(), out=operation.printed, status=-number)


@pytest.mark.parametrize("foreign", [
    (ADDRESS + 1, "Volumes", "{}"), (0, "Volumes", "{}"),
    (ADDRESS, "", "{}"), (ADDRESS, "Volumes", ""),
], ids=["address", "no-address", "name", "data"])
def test_a_signal_that_is_none_of_ours(bmc, operation, foreign):
    """For another device, without a name or without data: the wait goes on,
    also when it came before the reply."""
    bmc.start(operation.play(done(
        update_signal(*foreign), update_signal(ADDRESS, "ours", "{}"),
        before=[update_signal(*foreign)])))
    updated_after(bmc.run(*operation.words), operation.printed, "ours")


@pytest.mark.parametrize("member, interface", [
    ("StorageResourceUpdates", s.STORAGE),
    ("StorageResourceUpdated", "com.mervax.Inventory.Storages")])
def test_a_signal_of_another_name(bmc, member, interface):
    """Only one name on one interface is watched for."""
    operation = OPERATIONS["delete"]
    other = {**update_signal(ADDRESS, "other", "{}"), "member": member,
             "interface": interface}
    bmc.start(operation.play(done(
        other, update_signal(ADDRESS, "ours", "{}"), before=[other])))
    updated_after(bmc.run(*operation.words), name="ours")


@pytest.mark.parametrize("arguments, signature, what", [
    (("text", "Volumes", "{}"), "sss", "fundamental: System.Error.ENXIO: No "
     "such device or address"),
    ((ADDRESS, 1, "{}"), "uus", "string: System.Error.ENXIO: No such device "
     "or address"),
    ((ADDRESS, "Volumes"), "us", "string: System.Error.ENXIO: No such device "
     "or address"),
], ids=["address", "name", "no-data"])
def test_a_signal_that_cannot_be_read(bmc, operation, arguments, signature,
                                      what):
    """It ends the run as a failure."""
    bmc.start(operation.play(done(
        update_signal(*arguments, signature=signature))))
    ended(bmc.run(*operation.words), status=255, out=(
        f"{operation.printed}Exception in handling signal "
        f"StorageResourceUpdated: sd_bus_message_read_basic {what}\n"))


def test_verbose_prints_the_refreshed_data(bmc, operation):
    """Under a line of hyphens."""
    bmc.start(operation.play(done(
        update_signal(ADDRESS, "Volumes", '{"Volumes":[],"Count":2}'))))
    updated_after(bmc.run(*operation.words, "-v"), operation.printed, rest="""\
--------------------------------
Count                    : 2 (number)
Volumes (array, 0)
[
]
""")


def test_data_that_is_no_document(bmc, operation):
    """Nobody looks at it, unless it is to be printed."""
    bmc.start(operation.play(done(
        update_signal(ADDRESS, "Volumes", "{"))))
    updated_after(bmc.run(*operation.words), operation.printed)
    result = bmc.run(*operation.words, "-v")
    rest, _ = updated(result.out[len(operation.printed):])
    assert rest == (
        "Exception in handling signal StorageResourceUpdated: "
        "[json.exception.parse_error.101] parse error at line 1, column 2: "
        "syntax error while parsing object key - unexpected end of input; "
        "expected string literal\n")
    assert (result.err, result.status) == ("", 255)


def test_data_that_is_nested_too_deep(bmc):
    """It is refused, not followed down."""
    operation = OPERATIONS["clear"]
    bmc.start(operation.play(done(
        update_signal(ADDRESS, "Volumes", "[" * 100000))))
    result = bmc.run(*operation.words, "-v")
    rest, _ = updated(result.out)
    assert rest == ("Exception in handling signal StorageResourceUpdated: "
                    "JSON document is nested deeper than 512 levels\n")
    assert result.status == 255


def test_the_time_is_that_since_the_start(bmc, operation):
    """The call's own time counts, although the signal came within it."""
    bmc.start(operation.play(done(before=[update_signal(delay_ms=150)])))
    elapsed = updated_after(bmc.run(*operation.words), operation.printed)
    assert elapsed >= 150


def test_a_name_is_printed_as_it_stands(bmc):
    """It is no format."""
    operation = OPERATIONS["delete"]
    bmc.start(operation.play(done(update_signal(ADDRESS, "%s%n", "{}"))))
    updated_after(bmc.run(*operation.words), name="%s%n")


def test_a_flood_of_foreign_signals(bmc):
    """The one that counts is found behind them."""
    operation = OPERATIONS["delete"]
    foreign = [update_signal(ADDRESS + 1, "Volumes", "{}")] * 500
    bmc.start(operation.play(done(*foreign, update_signal(), before=foreign)))
    updated_after(bmc.run(*operation.words))
