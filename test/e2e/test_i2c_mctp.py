# SPDX-License-Identifier: Apache-2.0
"""I2C buses and the MCTP daemons on them."""

import pytest

import scenarios as s
from harness import Call
from io_cases import (BPM, BPM_FACE, BPM_PATH, INFO, LAUNCHER, LAUNCHER_FACE,
                      LAUNCHER_PATH, MCTP_BASE, SMBUS, SOON, adapters, daemon,
                      drives_on_buses, launcher, own_fields, smbus_name)

SYS = "/sys/bus/i2c/devices/i2c-"
NAMES = {
    0: "1e78a080.i2c-bus",
    3: "1e78a200.i2c-bus",
    5: "1e78a300.i2c-bus",
    15: "1e78a800.i2c-bus",
    17: "i2c-3-mux (chan_id 1)",
    18: "i2c-259-mux (chan_id 2)",
    19: "i2c-42-mux (chan_id 3)",
    33: "i2c-17-mux (chan_id 0)",
    40: "soft-mux channel 2",
    41: "i2c-mux (chan_id 1)",
    43: "i2c-99999999999999999999-mux",
    200: "adapter 200",
}
WARN = "[WARN] " + SYS + "{}/name; unknown name: {}"


def i2c(names=None):
    """Only buses."""
    return s.merge({"services": {}}, adapters(names or NAMES))


def setting(*parts):
    """Buses, a mapper, a launcher, and what a case adds."""
    return s.merge(adapters(NAMES), s.mapper(), launcher(), *parts)


def show(bmc, bus):
    return bmc.run("-o", "showI2C", "-a", hex(bus))


def enable(bmc, bus, **options):
    return bmc.run("-o", "enableMctp", "-a", hex(bus), **options)


def discover(bmc, bus, **options):
    return bmc.run("-o", "discover", "-a", hex(bus), **options)


DRIVES = Call(BPM, BPM_PATH, s.PROPERTIES, "Get", "ss",
              [BPM_FACE, "MaxNumOfNVMeDrvOnI2CBuses"])
SERVICES = Call(s.MAPPER, s.MAPPER_PATH, s.MAPPER, "GetObject", "sas",
                [s.MCTP_PATH, [SMBUS]])
NO_SERVICES = (3, "[ERR] Failed to get mctp service list from obj mapper")
NO_DRIVES = [(3, "[ERR] Failed to get MaxNumOfNVMeDrvOnI2CBuses"),
             (3, "[ERR] getMaxMctpEpOnBuses failed")]


def asked(name):
    """A daemon is asked for its bus."""
    return Call(name, s.MCTP_PATH, s.PROPERTIES, "Get", "ss",
                [SMBUS, "BusPath"])


def launched(bus, first, size):
    return Call(LAUNCHER, LAUNCHER_PATH, LAUNCHER_FACE, "LaunchMctpdOverI2C",
                "yyyuq", [bus, first, size, 0xFFFFFFFF, 300])


def triggered(name):
    return Call(name, s.MCTP_PATH, MCTP_BASE, "TriggerDeviceDiscovery", "", [])


def test_a_root_bus(bmc):
    """Its adapter's name has no "mux" in it."""
    bmc.start(i2c())
    for bus in (0, 3, 200):
        assert show(bmc, bus) == (f"{SYS}{bus} is a root bus.\n", "", 0)
    assert bmc.messages() == []


@pytest.mark.parametrize("bus, root", [(17, 3), (18, 3), (33, 17), (19, 42)])
def test_a_channel_leads_one_step_up(bmc, bus, root):
    """To the bus in its name, whether that is a root or exists at all; the
    low 8 bits of the number count."""
    bmc.start(i2c())
    assert show(bmc, bus) == (
        f"{SYS}{bus} is NOT a root bus.\nroot bus is i2c-{root}\n", "", 0)
    assert bmc.messages() == []


def test_a_mux_with_another_name(bmc):
    """Unknown, with a warning."""
    bmc.start(i2c())
    assert show(bmc, 40) == (f"{SYS}40 is NOT a root bus.\n"
                             "Unable to get its root bus.\n", "", 0)
    record, = bmc.journal()
    fields = own_fields(record)
    assert (fields["MESSAGE"], fields["PRIORITY"], fields["PATH"],
            fields["NAME"]) == (WARN.format(40, NAMES[40]), "4",
                                SYS + "40/name", NAMES[40])


@pytest.mark.parametrize("bus", [1, 254, 255])
def test_a_bus_that_is_not_there(bmc, bus):
    """Not even number 255 is its own root."""
    bmc.start(i2c())
    assert show(bmc, bus) == (f"{SYS}{bus} is NOT a root bus.\n"
                              "Unable to get its root bus.\n", "", 0)
    assert bmc.messages() == []


def test_bus_255_can_be_a_root(bmc):
    """When it is there."""
    bmc.start(i2c({255: "last"}))
    assert show(bmc, 255) == (f"{SYS}255 is a root bus.\n", "", 0)


@pytest.mark.parametrize("bus", [41, 43])
def test_a_name_without_a_number(bmc, bus):
    """The conversion's exception reaches the front end."""
    bmc.start(i2c())
    assert show(bmc, bus) == (f"{SYS}{bus} is NOT a root bus.\n"
                              "Exception: stoul\n", "", 255)


@pytest.mark.parametrize("address", ["0x103", "ff03", "ffffff03"])
def test_only_the_low_byte_of_the_address_counts(bmc, address):
    """As the number of a bus."""
    bmc.start(i2c())
    assert bmc.run("-o", "showI2C", "-a", address) == (
        f"{SYS}3 is a root bus.\n", "", 0)


def test_without_an_address_it_is_bus_0(bmc):
    """No check asks for one."""
    bmc.start(i2c())
    assert bmc.run("-o", "showI2C") == (f"{SYS}0 is a root bus.\n", "", 0)


@pytest.mark.parametrize("content, line", [
    ("", " is a root bus."),
    ("\ni2c-3-mux", " is a root bus."),
    ("adapter", " is a root bus."),
    ("i2c-5-mux", " is NOT a root bus.\nroot bus is i2c-5"),
    ("x" * 28 + "mux", " is NOT a root bus.\nUnable to get its root bus."),
    ("x" * 29 + "mux", " is a root bus."),
    ("i2c-5 " + "x" * 22 + "mux\n", " is NOT a root bus.\nroot bus is i2c-5"),
    ("i2c-5 " + "x" * 23 + "mux\n", " is a root bus."),
    ("x" * 100_000 + "mux", " is a root bus."),
], ids=["empty", "second line", "no newline", "mux without newline", "31",
        "32", "31 and newline", "32 and newline", "long"])
def test_only_31_characters_of_the_first_line_count(bmc, content, line):
    """A name file without a newline, and one longer than the buffer."""
    bmc.start(i2c({9: {"content": content}}))
    assert show(bmc, 9) == (f"{SYS}9{line}\n", "", 0)


def test_enable_sizes_the_pool_by_the_drives(bmc):
    """Word 0x00030210: 20 endpoints, EIDs 48 to 79."""
    bmc.start(setting(drives_on_buses(0x00030210)))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, launched(3, 48, 32)]
    # Nobody has the interface yet, and the mapper's word for it is an error.
    assert bmc.messages() == [NO_SERVICES]


def test_enable_ignores_the_top_byte_of_a_word(bmc):
    """And takes the last of two words for one bus."""
    bmc.start(setting(drives_on_buses(0x00030430, 0xFF030210)))
    enable(bmc, 3)
    assert bmc.calls()[-1] == launched(3, 48, 32)


@pytest.mark.parametrize("word, bus, backplanes, drives", [
    (0x00100004, 16, 0, 4), (0x000F0504, 15, 5, 4), (0x00030031, 3, 0, 49),
    (0xFFFFFFFF, 255, 255, 255),
])
def test_a_word_out_of_range_is_skipped(bmc, word, bus, backplanes, drives):
    """Bus 16 and others leave the table as it is; the rest counts."""
    bmc.start(setting(drives_on_buses(word, 0x00030010)))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls()[-1] == launched(3, 48, 32)
    assert bmc.messages() == [
        (3, f"[ERR] Invalid data. bus {bus}, BP count {backplanes}, NVMe "
            f"drive count {drives}"), NO_SERVICES]
    fields = own_fields(bmc.journal()[0])
    assert [fields[key] for key in "BCD"] == [
        str(number) for number in (bus, backplanes, drives)]


def test_only_words_out_of_range(bmc):
    """The service has told, so nothing failed."""
    bmc.start(setting(drives_on_buses(0x00100004)))
    enable(bmc, 5)
    assert bmc.calls()[-1] == launched(5, 80, 16)
    assert [message for _, message in bmc.messages()
            if "getMax" in message] == []


def test_a_bus_without_drives_gets_sixteen(bmc):
    """Bus 5: EIDs 80 to 95."""
    bmc.start(setting(drives_on_buses(0x00030210)))
    assert enable(bmc, 5) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, launched(5, 80, 16)]


def test_bus_15_with_twenty_endpoints(bmc):
    """Does not fit at 240: EIDs 16 to 47."""
    bmc.start(setting(drives_on_buses(0x000F0210)))
    assert enable(bmc, 15) == ("", "", 0)
    assert bmc.calls()[-1] == launched(15, 16, 32)


def test_a_high_bus_number(bmc):
    """Bus 200 has no place of its own."""
    bmc.start(setting(drives_on_buses()))
    enable(bmc, 200)
    assert bmc.calls()[-1] == launched(200, 16, 16)


def test_a_bus_full_of_backplanes_without_drives(bmc):
    """No endpoints are no pool: the size is 0."""
    bmc.start(setting(drives_on_buses(0x00030400)))
    enable(bmc, 3)
    assert bmc.calls()[-1] == launched(3, 48, 0)


def test_enable_works_on_the_root_of_a_channel(bmc):
    """Bus 17 hangs on bus 3."""
    bmc.start(setting(drives_on_buses(0x00030210)))
    assert enable(bmc, 17) == ("", "", 0)
    assert bmc.calls()[-1] == launched(3, 48, 32)


@pytest.mark.parametrize("bus, root", [(1, 255), (40, 255), (19, 42)])
def test_enable_needs_the_root_bus(bmc, bus, root):
    """Missing, unknown, or named by a channel and not there."""
    bmc.start(setting())
    assert enable(bmc, bus) == ("", "", 255)
    assert bmc.calls() == []
    message = bmc.messages()[-1]
    assert message == (3, f"{SYS}{root} is not a root bus")
    assert own_fields(bmc.journal()[-1])["BUS"] == str(root)


def test_enable_takes_a_channel_for_a_root_behind_two_muxes(bmc):
    """One step leads from bus 33 to bus 17, which is there."""
    bmc.start(setting(drives_on_buses()))
    assert enable(bmc, 33) == ("", "", 0)
    assert bmc.calls()[-1] == launched(17, 16, 16)


def test_enable_with_a_name_without_a_number(bmc):
    """The exception is the operation's own."""
    bmc.start(setting())
    assert enable(bmc, 41) == ("", "", 255)
    assert bmc.messages() == [(3, "[ERR] enabling mctp service. stoul")]
    assert bmc.calls() == []


@pytest.mark.parametrize("parts", [
    (), (drives_on_buses(1), s.fault("Get", s.error(), owner=BPM)),
], ids=["no service", "error"])
def test_enable_without_the_backplane_service(bmc, parts):
    """Goes on with sixteen endpoints."""
    bmc.start(setting(*parts))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.messages() == NO_DRIVES + [NO_SERVICES]
    fields = own_fields(bmc.journal()[0])
    assert fields["LOG2_FMTMSG"] == "[ERR] Failed to get {P}"
    assert fields["P"] == "MaxNumOfNVMeDrvOnI2CBuses"
    assert bmc.calls()[-1] == launched(3, 48, 16)


@pytest.mark.parametrize("content", [
    {"signature": "s", "value": "0x00030210"},
    {"signature": "ai", "value": [1]},
    {"signature": "ay", "value": [1]},
    {"signature": "u", "value": 0x00030210},
])
def test_drives_of_another_type(bmc, content):
    """An exception, and sixteen endpoints."""
    bmc.start(setting(s.value(BPM, BPM_PATH, BPM_FACE,
                              "MaxNumOfNVMeDrvOnI2CBuses", content)))
    assert enable(bmc, 3) == ("", "", 0)
    first, second = bmc.messages()[:2]
    assert first[0] == 3
    assert first[1].startswith("getMaxMctpEpOnBuses exception. ")
    assert second == NO_DRIVES[1]
    assert bmc.calls()[-1] == launched(3, 48, 16)


def test_a_silent_backplane_service(bmc):
    """No answer is an exception."""
    bmc.start(setting(drives_on_buses(1),
                      s.fault("Get", {"silent": True}, owner=BPM)))
    assert enable(bmc, 3, env=SOON) == ("", "", 0)
    assert bmc.messages()[0] == (
        3, "getMaxMctpEpOnBuses exception. sd_bus_call: org.freedesktop.DBus."
           "Error.Timeout: Connection timed out")


def test_a_bus_that_is_served_is_left_alone(bmc):
    """Its daemon's BusPath is /dev/i2c-3; the launcher is not called."""
    bmc.start(setting(drives_on_buses(0x00030210), daemon(3)))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, asked(smbus_name(3))]
    assert bmc.messages() == []


def test_a_daemon_on_another_bus_does_not_count(bmc):
    """All daemons are asked, in the mapper's order."""
    bmc.start(setting(drives_on_buses(), daemon(5), daemon(15)))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, asked(smbus_name(15)),
                           asked(smbus_name(5)), launched(3, 48, 16)]


def found(*names):
    """What the mapper says, in an order of its own."""
    return s.fault("GetObject", {"out": "a{sas}", "return": [
        [[name, [SMBUS]] for name in names]]})


def test_daemons_are_asked_in_the_replys_order(bmc):
    """Not by name."""
    bmc.start(setting(drives_on_buses(), daemon(5, "z.z"), daemon(7, "a.a"),
                      found("z.z", "a.a")))
    enable(bmc, 3)
    assert bmc.calls()[2:] == [asked("z.z"), asked("a.a"),
                               launched(3, 48, 16)]


def bus_path(name, content):
    return s.value(name, s.MCTP_PATH, SMBUS, "BusPath", content)


@pytest.mark.parametrize("path", [
    "/dev/i2c-", "", "/dev/i2c-x", "/dev/i2c", "/dev/i2c/3", "dev/i2c-3",
    "/dev/i2c-99999999999999999999", "/dev/i2c-30",
])
def test_a_bus_path_that_matches_no_bus(bmc, path):
    """Nothing but the prefix, no number, another bus: the search goes on,
    without a word, to the daemon that serves the bus."""
    bmc.start(setting(drives_on_buses(),
                      bus_path("a.a", {"signature": "s", "value": path}),
                      daemon(3, "b.b")))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, asked("a.a"), asked("b.b")]
    assert bmc.messages() == []


@pytest.mark.parametrize("path", ["/dev/i2c-3", "/dev/i2c-3abc",
                                  "/dev/i2c-259"])
def test_a_bus_path_that_matches(bmc, path):
    """The low 8 bits of the number behind the prefix."""
    bmc.start(setting(drives_on_buses(),
                      bus_path("a.a", {"signature": "s", "value": path})))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, asked("a.a")]


@pytest.mark.parametrize("content", [
    {"signature": "u", "value": 3}, {"signature": "y", "value": 3},
    {"signature": "as", "value": ["/dev/i2c-3"]},
    {"signature": "o", "value": "/dev/i2c"},
])
def test_a_bus_path_of_another_type_ends_the_search(bmc, content):
    """As an exception; no later daemon is asked, so one is launched."""
    bmc.start(setting(drives_on_buses(), bus_path("a.a", content),
                      daemon(3, "b.b")))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, asked("a.a"),
                           launched(3, 48, 16)]
    (priority, message), = bmc.messages()
    assert priority == 3
    assert message.startswith("[ERR] checking mctp services. ")


def test_a_bus_path_that_cannot_be_read(bmc):
    """The next daemon is asked."""
    bmc.start(setting(drives_on_buses(), bus_path("a.a", s.error()),
                      daemon(3, "b.b")))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, asked("a.a"), asked("b.b")]
    assert bmc.messages() == [(3, "[ERR] Failed to get BusPath from a.a")]


@pytest.mark.parametrize("fault", [{"silent": True}, {"die": True}],
                         ids=["silent", "dies"])
def test_a_daemon_that_gives_no_answer_does_not_end_the_search(bmc, fault):
    """The next one serves the bus, so that none is launched."""
    bmc.start(setting(drives_on_buses(), bus_path("a.a", fault),
                      daemon(3, "b.b")))
    assert enable(bmc, 3, env=SOON) == ("", "", 0)
    assert bmc.calls() == [DRIVES, SERVICES, asked("a.a"), asked("b.b")]
    assert bmc.messages() == [(3, "[ERR] Failed to get BusPath from a.a")]


def test_discover_with_a_daemon_that_gives_no_answer(bmc):
    """The one that serves the bus is found behind it."""
    bmc.start(setting(bus_path("a.a", {"silent": True}), daemon(3, "b.b")))
    assert discover(bmc, 3, env=SOON) == ("", "", 0)
    assert bmc.calls() == [SERVICES, asked("a.a"), asked("b.b"),
                           triggered("b.b")]


def test_a_daemon_alone_that_gives_no_answer(bmc):
    """As one that refuses to tell: nobody is known to serve the bus."""
    bmc.start(setting(drives_on_buses(), bus_path("a.a", {"silent": True})))
    assert enable(bmc, 3, env=SOON) == ("", "", 0)
    assert bmc.calls()[-1] == launched(3, 48, 16)
    assert bmc.messages() == [(3, "[ERR] Failed to get BusPath from a.a")]


def test_a_mapper_that_gives_no_answer_ends_the_search(bmc):
    """There is no next one to ask."""
    bmc.start(setting(drives_on_buses(), daemon(3),
                      s.fault("GetObject", {"silent": True})))
    assert enable(bmc, 3, env=SOON) == ("", "", 0)
    assert bmc.messages() == [
        (3, "[ERR] checking mctp services. sd_bus_call: org.freedesktop.DBus."
            "Error.Timeout: Connection timed out")]
    assert bmc.calls()[-1] == launched(3, 48, 16)


def test_no_mapper(bmc):
    """As no daemon."""
    bmc.start(s.merge(adapters(NAMES), launcher(), drives_on_buses()))
    assert enable(bmc, 3) == ("", "", 0)
    assert bmc.messages() == [NO_SERVICES]
    assert bmc.calls()[-1] == launched(3, 48, 16)


@pytest.mark.parametrize("parts", [
    s.merge(launcher(), s.fault("LaunchMctpdOverI2C", s.error())), {},
], ids=["error", "no service"])
def test_a_launcher_that_refuses(bmc, parts):
    """The operation fails."""
    bmc.start(s.merge(adapters(NAMES), s.mapper(), drives_on_buses(), parts))
    assert enable(bmc, 3) == ("", "", 255)
    assert bmc.messages() == [NO_SERVICES,
                              (3, "[ERR] Failed to enable mctp on bus 3")]
    assert own_fields(bmc.journal()[-1])["B"] == "3"


def test_a_launcher_that_is_silent(bmc):
    """No answer is an exception."""
    bmc.start(setting(drives_on_buses(),
                      s.fault("LaunchMctpdOverI2C", {"silent": True})))
    assert enable(bmc, 3, env=SOON) == ("", "", 255)
    assert bmc.messages()[-1] == (
        3, "[ERR] enabling mctp service. sd_bus_call: org.freedesktop.DBus."
           "Error.Timeout: Connection timed out")


def test_the_launcher_starts_a_daemon(bmc):
    """Enable, enable again, discover: the second finds the daemon, which
    gives its endpoint the first id of its pool."""
    bmc.start(s.merge(adapters(NAMES), s.mapper(),
                      launcher(endpoints={"3": [0x1d]}),
                      drives_on_buses(0x00030210)))
    name = smbus_name(3)
    assert enable(bmc, 17) == ("", "", 0)
    assert enable(bmc, 17) == ("", "", 0)
    assert discover(bmc, 17) == ("", "", 0)
    assert bmc.calls()[2:] == [launched(3, 48, 32), DRIVES, SERVICES,
                               asked(name), SERVICES, asked(name),
                               triggered(name)]
    table = bmc.run("--system", "call", name, s.MCTP_PATH, MCTP_BASE,
                    "GetRoutingTable", program="busctl")
    assert table.out == "ay 8 48 0 0 0 29 0 0 0\n"


def test_discover(bmc):
    """The daemon on the root bus is told; that it did is informational."""
    bmc.start(setting(daemon(3)))
    name = smbus_name(3)
    assert discover(bmc, 17) == ("", "", 0)
    assert bmc.calls() == [SERVICES, asked(name), triggered(name)]
    assert bmc.messages() == [
        (INFO, f"Trigger mctp discover on {name} succeeded")]
    assert own_fields(bmc.journal()[0])["S"] == name


@pytest.mark.parametrize("bus, root", [(3, 3), (17, 3), (1, 255)])
def test_discover_without_a_daemon(bmc, bus, root):
    """Whether the bus exists is not asked."""
    bmc.start(setting(daemon(5)))
    assert discover(bmc, bus) == ("", "", 255)
    assert bmc.messages() == [
        (3, "[ERR] Unable to trigger mctp discovery: service not found on "
            f"root bus {root}")]
    assert bmc.calls() == [SERVICES, asked(smbus_name(5))]


def test_discover_on_a_bus_without_an_adapter_file(bmc):
    """A daemon that serves the unknown bus is taken."""
    bmc.start(setting(daemon(255)))
    assert discover(bmc, 1) == ("", "", 0)
    assert bmc.calls()[-1] == triggered(smbus_name(255))


def test_discover_that_is_refused(bmc):
    """The error's name and text are told."""
    bmc.start(setting(daemon(3), s.fault(
        "TriggerDeviceDiscovery", s.error("a.b.Busy", "Try later."))))
    assert discover(bmc, 3) == ("", "", 255)
    assert bmc.messages() == [
        (3, f"[ERR] Trigger mctp discover on {smbus_name(3)} failed. "
            "a.b.Busy: Try later.")]
    fields = own_fields(bmc.journal()[0])
    assert [fields[key] for key in "SNM"] == [smbus_name(3), "a.b.Busy",
                                              "Try later."]


def test_discover_that_is_not_answered(bmc):
    """An exception."""
    bmc.start(setting(daemon(3), s.fault("TriggerDeviceDiscovery",
                                         {"silent": True})))
    assert discover(bmc, 3, env=SOON) == ("", "", 255)
    assert bmc.messages() == [
        (3, "[ERR] trigger mctp discovery exception. sd_bus_call: org."
            "freedesktop.DBus.Error.Timeout: Connection timed out")]


def test_discover_with_a_name_without_a_number(bmc):
    """An exception as well."""
    bmc.start(setting())
    assert discover(bmc, 41) == ("", "", 255)
    assert bmc.messages() == [
        (3, "[ERR] trigger mctp discovery exception. stoul")]
    assert bmc.calls() == []


def test_discover_with_a_mapper_that_names_no_service(bmc):
    """A name that no bus takes cannot be asked; the next one is."""
    bmc.start(setting(found("not a name", "b.b"), daemon(3, "b.b")))
    assert discover(bmc, 3) == ("", "", 0)
    assert bmc.calls() == [SERVICES, asked("b.b"), triggered("b.b")]
    assert bmc.messages()[0] == (
        3, "[ERR] Failed to get BusPath from not a name")
