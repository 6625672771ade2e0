# SPDX-License-Identifier: Apache-2.0
"""What ends the simulator, told to its user."""


class Failure(Exception):
    """A reason to give up, in one sentence for the user."""
