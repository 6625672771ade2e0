# SPDX-License-Identifier: Apache-2.0
"""Random documents, what the real printer makes of them, and what of them the
printed form cannot keep."""

import json
import os
import random
import struct
import subprocess

MARK = "-- the next document --"
# What services' documents look like, and what hurts a reader of lines.
_KEYS = ("Name", "PCIeVendorId", "BusAddress", "Address", "OOB", "PCIePath",
         "DeviceID", "Status", "a key of twenty-four by", "}", "{", "],", "},",
         "", "(object, 1)", "x : 1 (number)", '"quoted"', "Größe", "键",
         "Id", "a" * 40, "tab\there", "PCIID", "bell\a", "a : b")
_TEXTS = ("", "plain", 'with "quotes"', "two\nlines", "}", "{", "],", "},",
          '" (string)', '\\" : 5 (number)', "null", "1", "€ 😀", "\u2028\x85",
          "\x00\x1f\x7f", " : ", '" : "x" (string)', "back\\slash\\",
          "Name                     : 1 (number)", "\r\n", "/")
_EDGES = (0, 1, -1, 9, 10, 65535, 65536, 70000, 4318, 2**31, 2**32, 2**32 + 5,
          2**53 + 1, 2**63 - 1, 2**63, 2**64 - 1, -2**31, -2**63, 0.0, -0.0,
          0.1, 1.5, -2.75, 1e300, 5e-324, 1e22, 123456789.125,
          1.7976931348623157e308,
          -1e-7, 3.0, 4294967296.5, 1e19)


class Generator:
    """Documents from a seed."""

    def __init__(self, seed):
        self.random = random.Random(seed)

    def text(self):
        pick = self.random
        if pick.random() < 0.5:
            return pick.choice(_TEXTS)
        return "".join(chr(pick.choice((
            pick.randrange(32, 127), pick.randrange(0, 0x20),
            pick.randrange(0xa0, 0xd800), pick.randrange(0xe000, 0x110000))))
            for _ in range(pick.randrange(12)))

    def key(self):
        pick = self.random
        key = pick.choice(_KEYS) if pick.random() < 0.7 else self.text()
        # A line break in a key is refused; see test_show_text.
        return key.replace("\n", "") + pick.choice(("", "", "2", "Id", "PCI"))

    def number(self):
        pick = self.random
        kind = pick.randrange(4)
        if kind == 0:
            return pick.choice(_EDGES)
        if kind == 1:
            return pick.randrange(-2**63, 2**64)
        if kind == 2:
            return pick.randrange(100000)
        value, = struct.unpack("<d", pick.randbytes(8))
        return value if value == value and abs(value) < 1e309 else 0.5

    def scalar(self):
        kind = self.random.randrange(6)
        if kind < 2:
            return self.text()
        if kind < 4:
            return self.number()
        return self.random.choice((True, False, None))

    def value(self, depth):
        if depth <= 0 or self.random.random() < 0.5:
            return self.scalar()
        if self.random.random() < 0.6:
            return self.object(depth - 1)
        return self.array(depth - 1)

    def object(self, depth):
        return {self.key(): self.value(depth)
                for _ in range(self.random.randrange(4))}

    def array(self, depth):
        """An array in an array has no scalars: the printer refuses them."""
        return [self.structure(depth) if isinstance(item, list) else item
                for item in (self.value(depth)
                             for _ in range(self.random.randrange(4)))]

    def structure(self, depth):
        """An array of objects and arrays."""
        return [self.object(depth - 1) if self.random.random() < 0.7
                else self.structure(depth - 1)
                for _ in range(self.random.randrange(3) if depth > 0 else 0)]

    def document(self):
        depth = self.random.randrange(1, 7)
        if self.random.random() < 0.9:
            return self.object(depth)
        return self.structure(depth)


def printed(documents):
    """What the real printer prints, None where it refuses."""
    lines = "".join(json.dumps(document) + "\n" for document in documents)
    out = subprocess.run(
        [os.environ["PRINT_DOCUMENTS"], MARK], input=lines.encode(),
        stdout=subprocess.PIPE, check=True).stdout.decode()
    texts = []
    while out:
        text, _, out = out.partition(MARK)
        end, _, out = out.partition("\n")
        texts.append(None if end else text)
    return texts


def kept(document):
    """The document as far as a print keeps it."""
    if document is None or document in ({}, []):
        return {}
    return _members(document)


def _members(node):
    if isinstance(node, list):
        return [_container(item) for item in node]
    return {key.rstrip(" ") if not isinstance(value, (dict, list)) and
            len(key.encode()) <= 24 else key:
            _container(value) if isinstance(value, (dict, list))
            else _shown(key, value, ("PCI", "Address", "OOB"))
            for key, value in node.items()}


def _container(node):
    if isinstance(node, list):
        return [_element(item) for item in node]
    return {key.rstrip(" ") if len(key.encode()) <= 24 else key:
            _entry(key, value) for key, value in node.items()}


def _entry(key, value):
    if isinstance(value, dict):
        return _members(value)
    if isinstance(value, list):
        return [_element(item) for item in value]
    return _shown(key, value, ("PCI",))


def _element(item):
    if item == [] or item == {}:
        return {}
    return _members(item) if isinstance(item, (dict, list)) else item


def _shown(key, value, words):
    number = isinstance(value, (int, float)) and not isinstance(value, bool)
    if not number or not any(word in key for word in words):
        return value
    if isinstance(value, float):
        whole = int(value)
        value = whole if -2**63 <= whole < 2**64 else 0
    return value & (0xFFFF if "Id" in key or "ID" in key else 0xFFFFFFFF)
