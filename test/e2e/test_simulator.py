# SPDX-License-Identifier: Apache-2.0
"""The simulated BMC and this harness, seen through a bus client."""

import json
import signal
import socket
import subprocess

import pytest

import scenarios as s
from harness import TIMEOUT, Call, sim_env

PATH = "/com/mervax/rsa"
NAME = "com.mervax.rsa"
FACE = "com.mervax.Inventory.Storage"
# The bus policy lets a client ask for all properties here.
BPM = "com.mervax.bpm"
BPM_PATH = "/com/mervax/bpm"
BPM_FACE = "com.mervax.Inventory.DriveBackplane"


def ask(bmc, member, *arguments, name=NAME, path=PATH, interface=FACE,
        env=None):
    """One call by busctl."""
    return bmc.run("--system", "--json=short", "call", name, path, interface,
                   member, *arguments, program="busctl", env=env)


def answer(bmc, member, *arguments, **options):
    """The reply's values; the call must succeed."""
    result = ask(bmc, member, *arguments, **options)
    assert (result.err, result.status) == ("", 0)
    return json.loads(result.out)["data"]


def scripted(member, reply):
    return s.method(NAME, PATH, FACE, member, reply)


ALL_TYPES = "ybqiutsodnxgayasauaoa{ss}a{sv}a{sas}a{sa{sas}}(yv)"
ALL_VALUES = [
    255, True, 65535, -2147483648, 4294967295, 18446744073709551615, "text",
    "/a/b", 1.5, -32768, -9223372036854775808, "a{sv}", [0, 255],
    ["a", ""], [7], ["/"], {"k": "v"},
    {"n": {"signature": "ay", "value": [1]}}, {"k": ["v"]},
    {"/p": {"s": ["i", "j"]}}, [1, {"signature": "s", "value": "x"}],
]


def test_every_type_goes_out_as_written(bmc):
    """A scripted reply may hold any type; busctl reads the same back."""
    bmc.start(scripted("All", {"out": ALL_TYPES, "return": ALL_VALUES}))
    data = answer(bmc, "All")
    assert data[:17] == ALL_VALUES[:17]
    assert data[17] == {"n": {"type": "ay", "data": [1]}}
    assert data[18:20] == ALL_VALUES[18:20]
    assert data[20] == [1, {"type": "s", "data": "x"}]


def test_every_call_is_logged_with_its_arguments(bmc):
    """Also one that is refused; bytes appear as numbers."""
    bmc.start(scripted("Take", {"in": "uayasv", "out": "b",
                                "return": [True]}))
    assert answer(bmc, "Take", "uayasv", "9", "2", "1", "255", "1", "x", "s",
                  "y") == [True]
    refused = ask(bmc, "Take", "s", "x")
    assert refusal("Take", "s", "uayasv") in refused.err
    assert refused.status == 1
    assert bmc.calls() == [
        Call(NAME, PATH, FACE, "Take", "uayasv",
             [9, [1, 255], ["x"], {"signature": "s", "value": "y"}]),
        Call(NAME, PATH, FACE, "Take", "s", ["x"]),
    ]


@pytest.mark.parametrize("name, path, interface, member, text", [
    ("com.mervax.lsa", PATH, FACE, "A", "The name com.mervax.lsa was not "),
    (NAME, "/no", FACE, "A", "Unknown object '/no'."),
    (NAME, PATH, "com.mervax.Firmware.Device.Updater", "A",
     "Unknown interface 'com.mervax.Firmware.Device.Updater'."),
    (NAME, PATH, FACE, "B", "Unknown method 'B'."),
])
def test_what_is_not_there_is_refused(bmc, name, path, interface, member,
                                      text):
    """As a real service or the bus itself refuses it."""
    bmc.start(scripted("A", {"return": []}))
    result = ask(bmc, member, name=name, path=path, interface=interface)
    assert (text in result.err, result.status) == (True, 1)


def test_replies_come_in_order_and_the_last_stays(bmc):
    """A list of replies is used up to its last."""
    bmc.start(scripted("Next", {"replies": [
        {"out": "i", "return": [1]}, s.error("a.b.C", "no"),
        {"out": "i", "return": [3]}]}))
    assert answer(bmc, "Next") == [1]
    assert "no" in ask(bmc, "Next").err
    assert answer(bmc, "Next") == [3]
    assert answer(bmc, "Next") == [3]


def test_documents_and_generated_text(bmc):
    """Documents go out in their order; repeats and pieces are filled in."""
    bmc.start(s.merge(
        scripted("Doc", {"json": {"z": [{"@repeat": 2, "item": {
            "n": "@index", "s": "d{index}-{index}"}}], "a": None}}),
        scripted("Deep", {"text": [{"times": 3, "text": "[{"}, "x"]})))
    assert answer(bmc, "Doc") == [
        '{"z":[{"n":0,"s":"d0-0"},{"n":1,"s":"d1-1"}],"a":null}']
    assert answer(bmc, "Deep") == ["[{[{[{x"]


def test_a_silent_method_leaves_the_caller_to_its_timeout(bmc):
    """No reply, no error: the client library gives up."""
    bmc.start(scripted("Wait", {"silent": True}))
    result = ask(bmc, "Wait", env={"SYSTEMD_BUS_TIMEOUT": "100ms"})
    assert "timed out" in result.err
    assert [call.member for call in bmc.calls()] == ["Wait"]


def test_a_dying_service_takes_only_itself_along(bmc):
    """The caller hears of it; other services go on; the name is free."""
    bmc.start(s.merge(scripted("Die", {"die": True}), s.mapper()))
    assert "disconnected" in ask(bmc, "Die").err
    assert "was not provided" in ask(bmc, "Die").err
    gone = ask(bmc, "GetObject", "sas", PATH, "0", name=s.MAPPER,
               path=s.MAPPER_PATH, interface=s.MAPPER)
    assert "not found" in gone.err


def test_a_service_may_die_after_its_reply(bmc):
    """The reply is out before the connection closes."""
    bmc.start(scripted("Last", {"out": "i", "return": [1],
                                "die_after_ms": 0}))
    assert answer(bmc, "Last") == [1]
    # On a busy machine the next caller may come in before it is gone.
    assert any("was not provided" in ask(bmc, "Last").err for _ in range(50))


def test_signals_before_and_after_the_reply(bmc):
    """A monitor on the bus sees them in their places."""
    def tick(number, **more):
        return {"path": PATH, "interface": FACE, "member": "Tick",
                "signature": "i", "args": [number], **more}
    bmc.start(scripted("Go", {
        "out": "i", "return": [0], "delay_ms": 1,
        "signals_before": [tick(1), tick(2, delay_ms=1)],
        "signals_after": [tick(4, delay_ms=30), tick(3)]}))
    monitor = bmc.spawn("--system", "--json=short", "monitor", NAME,
                        program="busctl")
    monitor.read_until("Monitoring bus message stream", stream="err")
    ask(bmc, "Go")
    seen = monitor.read_until('"data":[4]')
    monitor.signal(signal.SIGTERM)
    monitor.end()
    order = [(line["type"], line["payload"].get("data"))
             for line in map(json.loads, seen.splitlines())
             if line["type"] in ("signal", "method_return")]
    assert order == [("signal", [1]), ("signal", [2]),
                     ("method_return", [0]), ("signal", [3]),
                     ("signal", [4])]


def test_properties_and_their_faults(bmc):
    """Get and GetAll; a property may answer with anything, once or always."""
    # The policy lets properties of this service be read.
    bpm = s.name_of("bpm")
    bmc.start(s.merge(
        s.value(bpm, PATH, FACE, "Code", {"signature": "y", "value": 7}),
        s.value(bpm, PATH, FACE, "Bad", s.error("a.b.C", "broken")),
        s.value(bpm, PATH, FACE, "Odd", {"out": "i", "return": [5]})))

    def get(name):
        return ask(bmc, "Get", "ss", FACE, name, name=bpm,
                   interface=s.PROPERTIES)
    assert json.loads(get("Code").out)["data"] == [{"type": "y", "data": 7}]
    assert "broken" in get("Bad").err
    assert json.loads(get("Odd").out) == {"type": "i", "data": [5]}
    assert "Unknown property 'None'." in get("None").err
    assert answer(bmc, "GetAll", "s", FACE, name=bpm,
                  interface=s.PROPERTIES) == [
        {"Code": {"type": "y", "data": 7}}]


def test_a_fault_lies_over_a_model_and_may_let_calls_pass(bmc):
    """Only the calls it names, only as often as it says."""
    bmc.start(s.merge(
        s.storage("rsa", {0x8c0000: {"Drives": [{"Name": "d"}]}}),
        s.fault("GetDrives", {"replies": [{"pass": True}, {"text": "x"}]},
                owner=NAME, args=[0x8c0000])))
    assert answer(bmc, "GetDrives", "u", "1") == ["{}"]
    assert answer(bmc, "GetDrives", "u", "9175040") == [
        '{"Drives":[{"Name":"d"}]}']
    assert answer(bmc, "GetDrives", "u", "9175040") == ["x"]


def refusal(member, given, wanted, interface=FACE):
    """What an sd-bus service says to arguments that it does not take."""
    return (f"Invalid arguments '{given}' to call {interface}.{member}(), "
            f"expecting '{wanted}'.")


def test_a_fault_does_not_take_what_its_method_refuses(bmc):
    """A real service checks the arguments before it can fail."""
    bmc.start(s.merge(
        s.storage("rsa", {1: {"Drives": []}}),
        {"services": {BPM: {"objects": {BPM_PATH: {BPM_FACE: {
            "properties": {"Name": {"signature": "s", "value": "b"}}}}}}}},
        s.fault("GetDrives", s.error(), owner=NAME),
        s.fault("GetAll", s.error(), owner=BPM)))
    assert refusal("GetDrives", "s", "u") in ask(
        bmc, "GetDrives", "s", "x").err
    assert "It did not work." in ask(bmc, "GetDrives", "u", "1").err
    assert "Only Get(ss) and GetAll(s) are here." in ask(
        bmc, "GetAll", "u", "1", name=BPM, path=BPM_PATH,
        interface=s.PROPERTIES).err
    assert "It did not work." in ask(
        bmc, "GetAll", "s", BPM_FACE, name=BPM, path=BPM_PATH,
        interface=s.PROPERTIES).err


def test_a_fault_may_stand_for_a_method_that_is_not_there(bmc):
    """Nothing says what it would take."""
    bmc.start(s.merge(s.storage("rsa", {}), s.fault("GetFans", {"text": "x"})))
    assert answer(bmc, "GetFans", "s", "y") == ["x"]


@pytest.mark.parametrize("settings, wanted, given", [
    ({}, "u", []), ({"addressless": True}, "", ["u", "1"])])
def test_a_listing_takes_an_address_or_none(bmc, settings, wanted, given):
    """A method of a service has one signature."""
    bmc.start(s.storage("rsa", {1: {"Volumes": []}}, **settings))
    assert answer(bmc, "GetVolumes", *(["u", "1"] if wanted else [])) == [
        '{"Volumes":[]}']
    assert refusal("GetVolumes", "".join(given[:1]), wanted) in ask(
        bmc, "GetVolumes", *given).err


VOLUME = {"Volume": {"RAIDType": "RAID0", "DisplayName": "v", "Links": {
    "Drives": [{"@odata.id": 2}]}}}
NAMED = {"Volume": {"DisplayName": "w"}}


@pytest.mark.parametrize("member, before, taken, refused", [
    ("CreateVolume", [], [VOLUME], [[VOLUME], {"Volumes": [VOLUME]}]),
    ("CreateVolumes", [], [[VOLUME]], [VOLUME]),
    ("CreateVolumes", [], [{"Volumes": [VOLUME]}], [VOLUME, []]),
    ("EditVolume", ["400"], [NAMED], [[NAMED], {"Volumes": [NAMED]}]),
])
def test_each_change_takes_its_own_document(bmc, member, before, taken,
                                            refused):
    """One volume, or several; the service answers 1 to anything else."""
    drives = [{"CapacityBytes": 9, "Internal": {"ResourceId": 2}}]
    volumes = [{"Name": "o", "WriteCachePolicy": "Off",
                "Internal": {"ResourceId": 400}}]
    bmc.start(s.service(NAME, models=[
        {"model": "raid", "path": PATH,
         "controllers": {"1": {"Drives": drives, "Volumes": volumes}}}]))

    def send(document):
        return answer(bmc, member, "u" * (1 + len(before)) + "s", "1",
                      *before, json.dumps(document),
                      interface="com.mervax.Operation.Storage.Volume")
    for document in refused:
        assert send(document) == [1]
    for document in taken:
        assert send(document) == [0]


def ask_mapper(bmc, member, *words):
    return ask(bmc, member, *words, name=s.MAPPER, path=s.MAPPER_PATH,
               interface=s.MAPPER)


def sub_tree(bmc, root, depth, *interfaces, member="GetSubTree"):
    return ask_mapper(bmc, member, "sias", root, str(depth),
                      str(len(interfaces)), *interfaces)


def test_the_mapper_computes_over_what_the_services_hold(bmc):
    """Depth, the interface filter, and the difference between an empty answer
    and a path that nobody knows."""
    two = {"return": []}
    bmc.start(s.merge(
        s.mapper(), s.method("b.b", "/r/x", "i.One", "M", two),
        s.method("a.a", "/r/x", "i.Two", "M", two),
        s.method("a.a", "/r/x/y", "i.One", "M", two)))
    assert json.loads(sub_tree(bmc, "/r", 1).out)["data"] == [
        {"/r/x": {"a.a": ["i.Two"], "b.b": ["i.One"]}}]
    assert json.loads(sub_tree(bmc, "/r", 0, "i.One").out)["data"] == [
        {"/r/x": {"b.b": ["i.One"]}, "/r/x/y": {"a.a": ["i.One"]}}]
    assert json.loads(sub_tree(bmc, "/r", 2, "i.No").out)["data"] == [{}]
    assert "not found" in sub_tree(bmc, "/q", 0).err


def test_the_mapper_knows_paths_that_lead_to_objects(bmc):
    """As long as no interface is asked for; a subtree has them without
    services only in the list of its paths."""
    bmc.start(s.merge(s.mapper(), s.method(
        "b.b", "/r/x/y", "i.One", "M", {"return": []})))
    assert json.loads(sub_tree(bmc, "/r/", 0).out)["data"] == [
        {"/r/x/y": {"b.b": ["i.One"]}}]
    assert json.loads(sub_tree(
        bmc, "/r", 0, member="GetSubTreePaths").out)["data"] == [
            ["/r/x", "/r/x/y"]]
    assert json.loads(ask_mapper(
        bmc, "GetObject", "sas", "/r/x", "0").out)["data"] == [{}]
    for words in (["/r/x", "1", "i.One"], ["/r/x/", "0"]):
        assert "not found" in ask_mapper(bmc, "GetObject", "sas", *words).err


def test_a_routing_table_is_encoded_from_its_endpoints(bmc):
    """Eight bytes each, the address with its lowest byte first."""
    bmc.start(s.endpoints((9, 0x8c0000), (10, 0x3b000001)))
    assert answer(bmc, "GetRoutingTable", name=s.MCTP, path=s.MCTP_PATH,
                  interface="xyz.openbmc_project.MCTP.Base") == [
        [9, 0, 0, 0, 0, 0, 0x8c, 0, 10, 0, 0, 0, 1, 0, 0, 0x3b]]


@pytest.mark.parametrize("part, complaint", [
    ({"services": {NAME: {"object": {}}}},
     f"bmcsim: /services/{NAME}/object: is none of objects, models"),
    (scripted("M", {"out": "y", "return": [256]}),
     f"bmcsim: /services/{NAME}/objects/{PATH}/{FACE}/methods/M/return/0: "
     "is out of the range of type y"),
    (scripted("M", {"out": "ii", "return": [1]}),
     f"bmcsim: /services/{NAME}/objects/{PATH}/{FACE}/methods/M/return: "
     'lacks values for "i"'),
    (scripted("M", {}),
     f"bmcsim: /services/{NAME}/objects/{PATH}/{FACE}/methods/M: needs one "
     "of return, json, text, error, silent, die, pass"),
    (s.service(NAME, models=[{"model": "toaster"}]),
     f"bmcsim: /services/{NAME}/models/0/model: is not a known model"),
    (s.service("no name"),
     "bmcsim: /services/no name: is not a valid service name"),
])
def test_a_mistake_in_a_scenario_is_told_with_its_place(bmc, part, complaint):
    """One sentence, and nothing is simulated."""
    with pytest.raises(sim_env.Failure) as failure:
        bmc.start(part)
    assert str(failure.value) == complaint


def test_the_harness_waits_for_a_call(bmc):
    """wait_call returns once the call is in the log, while it is pending."""
    bmc.start(scripted("Wait", {"silent": True}))
    session = bmc.spawn("--system", "call", NAME, PATH, FACE, "Wait",
                        program="busctl")
    assert bmc.wait_call("Wait").path == PATH
    session.signal(signal.SIGKILL)
    assert session.end().status == -signal.SIGKILL


def test_the_harness_reads_the_journal_of_a_run(bmc):
    """Only what that run wrote."""
    subprocess.run(["systemd-cat", "-t", "other", "echo", "another's"],
                   check=True)
    bmc.run("-p", "warning", "echo", "mine", program="systemd-cat")
    assert bmc.messages() == [(4, "mine")]


def test_a_service_manager_is_told_when_all_names_are_owned(bmc, monkeypatch):
    """So that what needs them can wait for that."""
    notify = str(bmc.folder / "notify")
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind(notify)
        manager.settimeout(TIMEOUT)
        monkeypatch.setenv("NOTIFY_SOCKET", notify)
        bmc.start(s.mapper())
        assert manager.recv(64) == b"READY=1"
