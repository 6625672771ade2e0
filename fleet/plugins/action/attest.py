# SPDX-License-Identifier: Apache-2.0
"""Attests a BMC's devices; plugins/modules/attest.py documents it."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import io
import json
import os
import tarfile

from ansible.errors import AnsibleConnectionFailure, AnsibleError
from ansible.plugins.action import ActionBase

from ansible_collections.zantric.fleet.plugins.modules.attest import ARGUMENTS
from ansible_collections.zantric.fleet.plugins.plugin_utils import (
    gather, list_text, operations, show_text, verdict)
from ansible_collections.zantric.fleet.plugins.plugin_utils.bmc import (
    Bmc, Stopped, records)
from ansible_collections.zantric.fleet.plugins.plugin_utils.outcome import (
    finished)
from ansible_collections.zantric.fleet.plugins.plugin_utils.remote import (
    Session)


class ActionModule(ActionBase):
    """The action `zantric.fleet.attest`."""

    TRANSFERS_FILES = False
    _supports_check_mode = True

    def run(self, tmp=None, task_vars=None):
        result = super(ActionModule, self).run(tmp, task_vars)
        del tmp
        options = self.validate_argument_spec(
            argument_spec=ARGUMENTS,
            mutually_exclusive=[("roots", "remote_roots")])[1]
        try:
            reference = self._reference(options["reference"])
            bmc = Bmc(self)
            devices = self._devices(bmc, options)
            devices = self._attest(bmc, options, devices)
            self._identify(bmc, options, devices)
            for device in devices:
                device["measurements"] = verdict.compare(device, reference)
        except (Stopped, ValueError, operations.Refused) as failure:
            return dict(result, failed=True, msg=str(failure))
        result.update(changed=False, devices=devices)
        return self._conclude(result, options, devices)

    def _reference(self, name):
        if not name:
            return None
        try:
            with open(self._find_needle("files", name),
                      encoding="utf-8") as stream:
                return json.load(stream)
        except (AnsibleError, OSError) as failure:
            raise ValueError("reference: %s" % failure)

    @staticmethod
    def _devices(bmc, options):
        """The named devices, or all that may have an endpoint id; with the
        service that the listing names for them."""
        (run, _records), = bmc.read(options["executable"], 120,
                                    [["-o", "list"]])
        listed = list_text.candidates(run.out)
        wanted = [int(operations.address_word(address), 16)
                  for address in options["addresses"] or []]
        if not wanted:
            return [device for device in listed if device["eid"] != 0]
        by_address = {device["address"]: device for device in listed}
        return [by_address.get(address, {"service": None, "address": address,
                                         "eid": None}) for address in wanted]

    def _attest(self, bmc, options, devices):
        session = Session(options["executable"], options["timeout"])
        roots = options["roots"] or options["remote_roots"]
        folder = "/run/" + session.token if options["roots"] else None
        script = session.attest([hex(device["address"]) for device in devices],
                                roots, folder)
        data = self._packed(options["roots"]) if folder else b"\n"
        out, err = bmc.session(session.token, script, data)
        if out[0].kind == "full":
            raise Stopped("no room for the root certificates on the BMC")
        return self._judged(devices, out, err)

    def _packed(self, roots):
        """The directory of root certificates as an archive."""
        try:
            folder = self._find_needle("files", roots)
        except AnsibleError as failure:
            raise ValueError("roots: %s" % failure)
        stream = io.BytesIO()
        with tarfile.open(fileobj=stream, mode="w") as archive:
            for algorithm in sorted(os.listdir(folder)):
                name = os.path.join(algorithm, "ca.cert.der")
                if os.path.isfile(os.path.join(folder, name)):
                    archive.add(os.path.join(folder, name), name)
        return stream.getvalue()

    @staticmethod
    def _judged(devices, out, err):
        runs = finished(out, err)
        if len(runs) != len(devices):
            raise AnsibleConnectionFailure(
                "the connection ended before the tool did")
        logs = [records(frame) for frame in out if frame.kind == "log"]
        seen = [frame.words == ["yes"] for frame in out
                if frame.kind == "marker"]
        judged = []
        for number, device in enumerate(devices):
            found = verdict.judge(runs[number].status, logs[number],
                                  any(seen[2 * number:2 * number + 2]))
            found["address"] = hex(device["address"])
            judged.append(dict(found, service=device["service"],
                               eid=device["eid"],
                               printed=runs[number].result()["stdout"]))
        return judged

    @staticmethod
    def _identify(bmc, options, devices):
        """Adds what `show` tells of the devices that have a service."""
        known = [device for device in devices if device["service"]]
        runs = [["-o", "show", "-s", device["service"], "-a",
                 device["address"]] for device in known]
        if not runs:
            return
        for device, (run, _records) in zip(known, bmc.read(
                options["executable"], 120, runs)):
            try:
                document = show_text.parse(run.out) if run.status == 0 else {}
            except show_text.NotAPrint:
                document = {}
            device.update(gather.identity(document))

    @staticmethod
    def _conclude(result, options, devices):
        bad = verdict.refused(devices, options["accept"])
        if bad:
            result.update(failed=True, msg="; ".join(bad))
        return result
