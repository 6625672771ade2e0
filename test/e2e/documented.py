# SPDX-License-Identifier: Apache-2.0
"""What there is to document, read off the program and its table."""

import os
import re
import subprocess

from harness import environment, sim_env

SERVICES = ("rsa", "lsa", "nvmed")
# Drive actions are one row of the table: any word that begins with "#".
_ACTIONS = ("#Drive.SecureErase", "#Drive.Reset")


def usage():
    """The usage text as the built program prints it."""
    return subprocess.run([os.environ["ZANTRIC"], "-h"], check=True,
                          capture_output=True, text=True,
                          env=environment()).stdout


def _table():
    source = (sim_env.ROOT / "tool/dispatch.cpp").read_text()
    return tuple(dict.fromkeys(re.findall(r'\.word = "(\w+)"', source)))


def _options():
    source = (sim_env.ROOT / "tool/options.cpp").read_text()
    letters = re.search(r'"([a-z:]+)"', source)[1].replace(":", "")
    return tuple("-" + letter for letter in letters)


OPERATIONS = _table() + _ACTIONS
OPTIONS = _options()
TARGETS = ("Drives", "Volumes", "StoragePools", "Storage", "Backplanes",
           "Objects")
