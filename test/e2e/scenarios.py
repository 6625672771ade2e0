# SPDX-License-Identifier: Apache-2.0
"""Builds scenarios for the simulated BMC from small pieces."""

MAPPER = "xyz.openbmc_project.ObjectMapper"
MAPPER_PATH = "/xyz/openbmc_project/object_mapper"
MCTP = "xyz.openbmc_project.MCTP_PCIe"
MCTP_PATH = "/xyz/openbmc_project/mctp"
CHASSIS = "xyz.openbmc_project.State.Chassis"
CHASSIS_PATH = "/xyz/openbmc_project/state/chassis0"
LOGMEM = "com.mervax.fpga.logmem"
LOGMEM_PATH = "/com/mervax/fpga/logmem"
STORAGE = "com.mervax.Inventory.Storage"
PCIE = "com.mervax.Inventory.PCIeDevice"
PROPERTIES = "org.freedesktop.DBus.Properties"
NOT_FOUND = "xyz.openbmc_project.Common.Error.ResourceNotFound"
INTERNAL = "xyz.openbmc_project.Common.Error.InternalFailure"


def name_of(service):
    """The bus name of one of the maker's services."""
    return "com.mervax." + service


def path_of(service):
    """The root object of one of the maker's services."""
    return "/com/mervax/" + service


def merge(*parts):
    """Joins scenarios: objects by their members, lists end to end."""
    result = {}
    for part in parts:
        for key, value in part.items():
            old = result.get(key)
            if isinstance(old, dict) and isinstance(value, dict):
                result[key] = merge(old, value)
            elif isinstance(old, list) and isinstance(value, list):
                result[key] = old + value
            else:
                result[key] = value
    return result


def service(name, **content):
    """A service with its "objects" and "models"."""
    return {"services": {name: content}}


def method(owner, path, interface, member, overloads):
    """A method of a service; one reply or a list of overloads."""
    return service(owner, objects={
        path: {interface: {"methods": {member: overloads}}}})


def value(owner, path, interface, name, content):
    """A property of a service, or what it does when it is asked for it."""
    return service(owner, objects={
        path: {interface: {"properties": {name: content}}}})


def faults(*items):
    """Replies laid over what services would say."""
    return {"faults": list(items)}


def fault(member, reply, owner="", **match):
    """One fault: a member of a service and its reply."""
    return faults({"member": member, "service": owner, **match, **reply})


def error(name=INTERNAL, message="It did not work."):
    """An error reply."""
    return {"error": {"name": name, "message": message}}


def mapper():
    """The object mapper."""
    return service(MAPPER, models=[{"model": "mapper", "path": MAPPER_PATH}])


def storage(name, controllers, **settings):
    """A storage service: address to the controller's document."""
    return service(name_of(name), models=[
        {"model": "storage", "path": path_of(name), **settings,
         "controllers": {hex(address): document
                         for address, document in controllers.items()}}])


def listing(name, member, document, signature="u"):
    """A storage service with one scripted listing."""
    return method(name_of(name), path_of(name), STORAGE, member,
                  {"in": signature, "json": document})


def pcie(name, *devices):
    """An inventory service with its PCIe devices."""
    return service(name_of(name), models=[
        {"model": "pcie", "path": path_of(name), "devices": list(devices)}])


def power(state):
    """The chassis state service with its power state."""
    return value(CHASSIS, CHASSIS_PATH, CHASSIS, "CurrentPowerState",
                 {"signature": "s", "value": state})


def progress(code):
    """The service with the host firmware's progress code."""
    return value(LOGMEM, LOGMEM_PATH, "com.mervax.fpga", "UefiProgressCode",
                 {"signature": "y", "value": code})


def endpoints(*pairs):
    """The MCTP-over-PCIe daemon with (endpoint id, address) pairs."""
    return service(MCTP, models=[
        {"model": "mctp", "path": MCTP_PATH,
         "endpoints": [{"eid": eid, "address": address}
                       for eid, address in pairs]}])


def server(*parts):
    """A powered server: the parts, and of the services that the listing's
    header asks those that the parts leave out."""
    scenario = merge(*parts)
    for default in (mapper(), power(CHASSIS + ".PowerState.On"),
                    progress(0x78), endpoints()):
        for name, content in default["services"].items():
            scenario.setdefault("services", {}).setdefault(name, content)
    return scenario
