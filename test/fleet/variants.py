# SPDX-License-Identifier: Apache-2.0
"""Scenarios of the lab's BMCs: the default one, each a little different."""

import copy
import json

from world import ROOT

_DEFAULT = json.loads((ROOT / "sim/scenarios/default.json").read_text())
_GOOD = {"State": "Enabled", "Health": "OK"}


def models(scenario, kind):
    """(service, model) for all models of a kind."""
    return [(service, model)
            for service, content in scenario["services"].items()
            for model in content.get("models", []) if model["model"] == kind]


def items(scenario, target):
    """All drives or volumes of a scenario."""
    return [item for kind in ("raid", "storage")
            for _, model in models(scenario, kind)
            for controller in model["controllers"].values()
            for item in controller.get(target, [])]


def ports(scenario):
    """All ports of devices."""
    return [port for _, model in models(scenario, "pcie")
            for device in model["devices"]
            for port in device.get("Ports", [])]


def _number_serials(node, number):
    if isinstance(node, dict):
        for key, value in node.items():
            if key == "SerialNumber" and value:
                node[key] = f"{value}-{number:02d}"
            else:
                _number_serials(value, number)
    elif isinstance(node, list):
        for value in node:
            _number_serials(value, number)


def scenario_of(number):
    """The scenario of the BMC with that number, from 1. Serial numbers differ;
    every third has a failed drive, every fourth a degraded volume, every
    fifth all its links up."""
    scenario = copy.deepcopy(_DEFAULT)
    _number_serials(scenario, number)
    for item in items(scenario, "Drives") + items(scenario, "Volumes"):
        item.setdefault("Status", dict(_GOOD))
    if number % 3 == 0:
        items(scenario, "Drives")[number % 8]["Status"] = {
            "State": "Enabled", "Health": "Critical"}
    if number % 4 == 0:
        items(scenario, "Volumes")[0]["Status"] = {
            "State": "Enabled", "Health": "Warning"}
    if number % 5 == 0:
        for port in ports(scenario):
            port["LinkStatus"] = "LinkUp"
    return scenario
