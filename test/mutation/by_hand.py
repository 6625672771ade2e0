# SPDX-License-Identifier: Apache-2.0
"""Faults that no generator makes: what somebody could write who is sure of it.
"""

import plant

# A file, what stands there once, and what somebody would write instead.
_FAULTS = ()


def faults(tree):
    """These faults in a tree, by their number."""
    return dict(enumerate(_fault(tree, *words) for words in _FAULTS))


def _fault(tree, file, kind, before, after):
    text = tree.read(file)
    if text.count(before) != 1:
        raise RuntimeError(f"{file} has not once: {before}")
    start = text.index(before)
    return plant.Fault(file, text.count("\n", 0, start) + 1, kind, start,
                       start + len(before), before, after)
