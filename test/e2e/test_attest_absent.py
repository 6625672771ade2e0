# SPDX-License-Identifier: Apache-2.0
"""A tool that was built without attestation."""

import attest_support as a


def test_it_says_so_and_fails(bmc):
    """Nothing is asked on the bus, and nothing is in the journal."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc, a.ROOTS) == (
        "Attestation is not built in\n", "", 255)
    assert (bmc.calls(), bmc.messages()) == ([], [])
