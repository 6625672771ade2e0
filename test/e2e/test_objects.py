# SPDX-License-Identifier: Apache-2.0
"""The listing of inventory objects."""

import pytest

import scenarios as s
from changes import NOT_SENT
from harness import Call
from io_cases import SOON

ROOT = "/xyz/openbmc_project/inventory"
SOFTWARE = "com.mervax.Inventory.Item.SoftwareInventory"
OTHER = "com.mervax.Inventory.Item.Other"


def objects(owner, path, *interfaces):
    """An inventory object of one service."""
    return s.service(owner, objects={
        ROOT + path: {face: {} for face in interfaces}})


def show(bmc, *more, target="Objects", **options):
    return bmc.run("-o", "show", "-t", target, *more, **options)


def asked(interface=SOFTWARE):
    return Call(s.MAPPER, s.MAPPER_PATH, s.MAPPER, "GetSubTree", "sias",
                [ROOT, 2, [interface]])


def tree(reply):
    """The mapper's own word, as it stands."""
    return s.fault("GetSubTree", {"out": "a{sa{sas}}", "return": [reply]})


SERVER = s.merge(
    s.mapper(),
    objects("com.mervax.rsa", "/software/rsa1", SOFTWARE, OTHER),
    objects("com.mervax.lsa", "/software/rsa1", SOFTWARE),
    objects("com.mervax.lsa", "/software/lsa1", SOFTWARE),
    objects("com.mervax.lsa", "/software/other", OTHER),
    objects("com.mervax.rsax", "/software", SOFTWARE),
    objects("com.mervax.rsa", "/software/rsa1/deep", SOFTWARE))


def test_the_whole_listing(bmc):
    """Paths, services and interfaces; the deepest object is left out."""
    bmc.start(SERVER)
    assert show(bmc) == (f"""\
{ROOT}/software (object, 1)
{{
    com.mervax.rsax          (array, 1)
    [
        "{SOFTWARE}"
    ]
}}
{ROOT}/software/lsa1 (object, 1)
{{
    com.mervax.lsa           (array, 1)
    [
        "{SOFTWARE}"
    ]
}}
{ROOT}/software/rsa1 (object, 2)
{{
    com.mervax.lsa           (array, 1)
    [
        "{SOFTWARE}"
    ]
    com.mervax.rsa           (array, 2)
    [
        "{OTHER}"
        "{SOFTWARE}"
    ]
}}
""", "", 0)
    assert (bmc.calls(), bmc.messages()) == ([asked()], [])


def test_two_levels_and_no_more(bmc):
    """An object three levels below is not listed."""
    bmc.start(s.merge(s.mapper(), objects("a.b", "/x/y/z", SOFTWARE)))
    assert show(bmc) == ("", "", 0)
    bmc.simulator.terminate()
    bmc.simulator.communicate()
    bmc.simulator = None
    bmc.start(s.merge(s.mapper(), objects("a.b", "/x/y", SOFTWARE)))
    assert show(bmc).out.startswith(f"{ROOT}/x/y (object, 1)\n")


def test_one_service_only(bmc):
    """-s rsa is com.mervax.rsa to the letter."""
    bmc.start(SERVER)
    assert show(bmc, "-s", "rsa") == (f"""\
{ROOT}/software/rsa1 (object, 1)
{{
    com.mervax.rsa           (array, 2)
    [
        "{OTHER}"
        "{SOFTWARE}"
    ]
}}
""", "", 0)
    assert bmc.calls() == [asked()]


@pytest.mark.parametrize("word", ["rs", "com.mervax.rsa", "RSA", " "])
def test_a_service_that_has_none(bmc, word):
    """Nothing is printed, and that is no failure."""
    bmc.start(SERVER)
    assert show(bmc, "-s", word) == ("", "", 0)


def test_an_interface_of_ones_own(bmc):
    """-f names it, and no file is opened."""
    bmc.start(SERVER)
    result = show(bmc, "-f", OTHER)
    assert result.status == 0
    assert [line for line in result.out.splitlines()
            if line.startswith("/")] == [f"{ROOT}/software/other (object, 1)",
                                         f"{ROOT}/software/rsa1 (object, 1)"]
    assert bmc.calls() == [asked(OTHER)]


def test_no_object_with_the_interface(bmc):
    """An empty document prints nothing; the status is 0."""
    bmc.start(SERVER)
    assert show(bmc, "-f", "a.b.C") == ("", "", 0)
    assert bmc.calls() == [asked("a.b.C")]


@pytest.mark.parametrize("target, status", [("objects", 0), ("Objects", 0),
                                            ("OBJECTS", 255)])
def test_two_spellings_of_the_target(bmc, target, status):
    """And no other."""
    bmc.start(SERVER)
    result = show(bmc, target=target)
    assert result.status == status
    assert (result.out == "Service not specified\n") == (status == 255)


def test_the_address_does_not_matter(bmc):
    """It is not looked at."""
    bmc.start(SERVER)
    assert show(bmc, "-a", "0x8c0000") == show(bmc)


def test_interfaces_come_in_the_mappers_order(bmc):
    """And pieces of one service and path are joined."""
    bmc.start(s.merge(s.mapper(), tree([
        ["/b", {"z.z": ["I2", "I1"]}], ["/a", {"z.z": []}],
        ["/b", {"z.z": ["I3"], "a.a": ["I4"]}]])))
    assert show(bmc).out == """\
/a (object, 1)
{
    z.z                      (array, 0)
    [
    ]
}
/b (object, 2)
{
    a.a                      (array, 1)
    [
        "I4"
    ]
    z.z                      (array, 3)
    [
        "I2"
        "I1"
        "I3"
    ]
}
"""


def test_an_object_without_services(bmc):
    """Is not part of the document."""
    bmc.start(s.merge(s.mapper(), tree([["/a", {}]])))
    assert show(bmc) == ("", "", 0)


FAILED = f"getSubTree({SOFTWARE}) failed\n"


@pytest.mark.parametrize("parts", [
    s.mapper(),
    s.merge(s.mapper(), s.fault("GetSubTree", s.error())),
    {"services": {}},
], ids=["no inventory", "error", "no mapper"])
def test_a_mapper_that_fails(bmc, parts):
    """ResourceNotFound is an error like any other."""
    bmc.start(parts)
    assert show(bmc) == (FAILED, "", 255)
    assert bmc.messages() == []


def test_the_failure_names_the_interface_asked_for(bmc):
    """-f again."""
    bmc.start(s.mapper())
    assert show(bmc, "-f", "%s.x") == ("getSubTree(%s.x) failed\n", "", 255)


def test_a_silent_mapper(bmc):
    """No answer is an exception."""
    bmc.start(s.merge(s.mapper(), s.fault("GetSubTree", {"silent": True})))
    assert show(bmc, env=SOON) == (
        "showObjects exception: sd_bus_call: org.freedesktop.DBus.Error."
        "Timeout: Connection timed out\n", "", 255)


@pytest.mark.parametrize("reply", [
    {"out": "s", "return": ["x"]}, {"return": []},
    {"out": "as", "return": [["/a"]]},
    {"out": "a{sas}", "return": [{"/a": ["x"]}]},
])
def test_a_reply_in_another_form(bmc, reply):
    """An exception."""
    bmc.start(s.merge(s.mapper(), s.fault("GetSubTree", reply)))
    result = show(bmc)
    assert result.out.startswith("showObjects exception: ")
    assert (result.out.count("\n"), result.err, result.status) == (1, "", 255)


def test_many_objects(bmc):
    """All of them."""
    count = 2000
    bmc.start(s.merge(s.mapper(), tree(
        [[f"/o{index:04}", {"a.a": ["I"]}] for index in range(count)])))
    lines = show(bmc).out.splitlines()
    assert [line for line in lines if line.startswith("/")] == [
        f"/o{index:04} (object, 1)" for index in range(count)]


@pytest.mark.parametrize("interface", [b"com.mervax.\xff", b"\xc3",
                                       b"\xed\xa0\x80"])
def test_an_interface_that_is_no_text(bmc, interface):
    """Nobody is asked for all objects instead."""
    bmc.start(SERVER)
    assert show(bmc, "-f", interface) == (
        f"showObjects exception: {NOT_SENT}", "", 255)
    assert bmc.calls() == []
