# SPDX-License-Identifier: Apache-2.0
"""A device that is a program beside the simulator."""

import json
import os
import pathlib

import pytest

import attest_support as a
import scenarios as s
from attest_support import ERROR
from harness import sim_env

DEVICE = str(pathlib.Path(os.environ["BMCSIM"]).parent / "spdm/spdm-device")
NO_ANSWER = (ERROR, f"[ERR] Tx/Rx SPDM msg failed. EID={a.EID}, {s.MCTP}")


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    a.tidy()
    yield
    a.tidy()


def program(folder, content):
    """The words of a program that is such a device; its roots are left in
    the folder."""
    config = pathlib.Path(folder, "device.json")
    config.write_text(json.dumps(content))
    return [DEVICE, str(config), str(folder)]


@pytest.mark.parametrize("version", ["1.1", "1.2"])
def test_it_answers_as_one_in_the_simulator(bmc, tmp_path, version):
    """Message by message."""
    bmc.start(a.attested(program(tmp_path, a.device(version))))
    assert a.attest(bmc, str(tmp_path)) == (a.output(), "", 0)
    size, = a.chain_size(bmc)
    assert bmc.messages() == [
        a.INITIALIZED, a.responder(version), *a.READ_ROOT, a.bitmask(1),
        *a.slot(0, size), *a.measured(), a.SUCCEEDED, a.UNINITIALIZED]


def test_one_that_does_not_answer_lives_on(bmc, tmp_path):
    """It says so itself, and the next run finds it well."""
    bmc.start(a.attested(program(tmp_path, a.device(
        faults=[a.fault("GET_CAPABILITIES", "dead")]))))
    assert a.attest(bmc).status == 255
    assert NO_ANSWER in bmc.messages()
    assert a.attest(bmc, str(tmp_path)).status == 0


@pytest.mark.parametrize("words", [
    ["/bin/true"],
    ["/usr/bin/tail", "-f", "/dev/null"],
    ["/bin/sh", "-c", r"printf '\001\000\020\000'; exec cat >/dev/null"],
    ["/bin/sh", "-c", r"printf '\005\000\000\000\005\020'"],
], ids=["ends", "keeps silent", "writes too much", "breaks off"])
def test_a_broken_program_is_a_dead_device(bmc, words):
    """The daemon says that no response came, now and later."""
    bmc.start(a.attested(words))
    for _ in range(2):
        assert a.attest(bmc).status == 255
    told = bmc.messages()
    assert told.count(NO_ANSWER) == 2
    assert told[-3:-1] == [
        (ERROR, "[ERR] libspdm_init_connection failed. rc = " + a.SEND_FAILED),
        a.UNINITIALIZED]


@pytest.mark.parametrize("words, complaint", [
    (["/nowhere"], "/nowhere: No such file or directory"),
    ([], "names no program"),
])
def test_a_program_that_cannot_be_started(bmc, words, complaint):
    """The mistake is told with its place."""
    with pytest.raises(sim_env.Failure) as failure:
        bmc.start(a.attested(words))
    assert str(failure.value) == (
        f"bmcsim: /services/{s.MCTP}/models/0/endpoints/0/spdm: {complaint}")
