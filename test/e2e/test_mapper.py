# SPDX-License-Identifier: Apache-2.0
"""Which services are found for an interface."""

import pytest

import scenarios as s
from expect import SUBTREE_CALL, devices_call, ended, under_header

EMPTY = {"json": {"PCIeDeviceComplexes": []}}


def inventory(name, path):
    return s.method(name, path, s.PCIE, "GetPCIeDevices", EMPTY)


def asked(bmc, *words):
    """The (service, path) pairs that were asked for their devices."""
    result = bmc.run(*words)
    assert (under_header(result.out), result.status) == ("", 0)
    assert bmc.calls()[0] == SUBTREE_CALL
    return sorted((call.destination, call.path) for call in bmc.calls()
                  if call.member == "GetPCIeDevices")


def test_without_a_service_word_every_path_contributes_its_first_service(bmc):
    """The first is the smallest name."""
    bmc.start(s.server(
        inventory("com.mervax.rsa", "/com/mervax/rsa"),
        inventory("com.mervax.lsa", "/com/mervax/lsa"),
        inventory("com.mervax.zz", "/com/mervax/lsa")))
    assert asked(bmc) == [("com.mervax.lsa", "/com/mervax/lsa"),
                          ("com.mervax.rsa", "/com/mervax/rsa")]


def test_with_a_service_word_only_its_own_path_contributes(bmc):
    """Not a path below it, not another service."""
    bmc.start(s.server(
        inventory("com.mervax.rsa", "/com/mervax/rsa"),
        inventory("com.mervax.low", "/com/mervax/rsa/x"),
        inventory("com.mervax.lsa", "/com/mervax/lsa")))
    assert asked(bmc, "-s", "rsa") == [("com.mervax.rsa", "/com/mervax/rsa")]


def scripted(entries):
    """A mapper that answers with exactly these entries, in their order."""
    return s.fault("GetSubTree", {"out": "a{sa{sas}}", "return": [entries]},
                   owner=s.MAPPER)


def test_paths_below_a_service_are_not_wanted_even_when_reported(bmc):
    """The path is compared as a whole."""
    bmc.start(s.server(
        inventory("com.mervax.rsa", "/com/mervax/rsa/x"),
        scripted({"/com/mervax/rsa/x": {"com.mervax.rsa": [s.PCIE]}})))
    assert asked(bmc, "-s", "rsa") == []


def test_a_path_without_services_contributes_nothing(bmc):
    """It is passed over; the others count."""
    bmc.start(s.server(
        inventory("com.mervax.rsa", "/com/mervax/rsa"),
        scripted([["/com/mervax/a", {}],
                  ["/com/mervax/rsa", {"com.mervax.rsa": [s.PCIE]}]])))
    assert asked(bmc) == [("com.mervax.rsa", "/com/mervax/rsa")]


def test_a_later_path_of_the_same_service_wins(bmc):
    """One service is asked once, at the path that came last."""
    bmc.start(s.server(
        inventory("com.mervax.rsa", "/com/mervax/a"),
        inventory("com.mervax.rsa", "/com/mervax/b"),
        scripted([["/com/mervax/b", {"com.mervax.rsa": []}],
                  ["/com/mervax/a", {"com.mervax.rsa": []}]])))
    assert asked(bmc) == [("com.mervax.rsa", "/com/mervax/a")]


def test_the_smallest_service_name_of_a_path_is_taken_in_any_order(bmc):
    """The reply need not be sorted."""
    bmc.start(s.server(
        inventory("com.mervax.aa", "/com/mervax/x"),
        inventory("com.mervax.bb", "/com/mervax/x"),
        scripted([["/com/mervax/x", [["com.mervax.bb", []],
                                     ["com.mervax.aa", []]]]])))
    assert asked(bmc) == [("com.mervax.aa", "/com/mervax/x")]


def test_no_mapper_is_an_error_reply(bmc):
    """The bus answers for the missing service."""
    bmc.start(s.power("x"))
    ended(bmc.run(), f"getServicesWithInterface({s.PCIE}) failed\n", 255)


@pytest.mark.parametrize("reply, text", [
    ({"out": "as", "return": [["/com/mervax/rsa"]]}, "sd_bus_message_"),
    ({"return": []}, "sd_bus_message_"),
    ({"silent": True}, "sd_bus_call: "),
])
def test_a_mapper_reply_of_another_type_is_an_exception(bmc, reply, text):
    """Nothing else is asked or printed."""
    bmc.start(s.server(s.fault("GetSubTree", reply)))
    result = bmc.run(env={"SYSTEMD_BUS_TIMEOUT": "200ms"})
    assert result.out.startswith("getServicesWithInterface exception: " +
                                 text)
    assert result.out.count("\n") == 1
    assert (result.err, result.status) == ("", 255)
    assert bmc.calls() == [SUBTREE_CALL]


def test_devices_are_asked_at_the_reported_path(bmc):
    """Whatever the service's name is."""
    bmc.start(s.server(inventory("com.mervax.rsa", "/com/mervax/rsa")))
    assert asked(bmc) == [("com.mervax.rsa", "/com/mervax/rsa")]
    assert bmc.calls()[-1] == devices_call("rsa")
