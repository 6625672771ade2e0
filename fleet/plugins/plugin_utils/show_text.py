# SPDX-License-Identifier: Apache-2.0
"""Reads what `show` prints back into the document that was printed.

The printer's layout: a member per line, its JSON type in parentheses, the count
of what is in an object or array behind its key, an indent per level. What the
layout does not keep cannot come back; notes() names those places:

- Numbers under keys with "PCI" ("Address" and "OOB" as well in the outer of two
  levels) are shown in hexadecimal, cut to 32 bits, identifiers to 16.
- An empty element of an array may be {} or []; it is read as {}.
- A document that is empty prints nothing; it is read as {}.

Blanks at the end of a key of up to 24 bytes are lost too. A key with a line
break is no key of a document here, since its lines could be any others.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import re

_KEY_WIDTH = 24
_CONTAINER = re.compile(rb"(.*)\((object|array), ([0-9]+)\)\Z", re.S)
_SCALAR = re.compile(rb"(.*) \((string|number|boolean|null)\)\Z", re.S)
_HEX = re.compile(r"0x[0-9a-f]+\Z")
_NUMBER = re.compile(r"-?(0|[1-9][0-9]*)(\.[0-9]+)?(e[+-][0-9]+)?\Z")
_PLAIN = re.compile(r'"[^"\\\x00-\x1f]*"\Z')
_WORDS = {"boolean": {"true": True, "false": False}, "null": {"null": None}}
_NONE = object()


class NotAPrint(ValueError):
    """The text is no print of a document; names the line."""


def _indent(level):
    return b" " * (4 * level - 1 if level else 0)


def _drive(routine):
    """Runs a routine that yields the routines that it calls, without Python's
    limit on nested calls: documents are up to 512 levels deep."""
    stack, value = [routine], None
    while stack:
        try:
            stack.append(stack[-1].send(value))
            value = None
        except StopIteration as end:
            stack.pop()
            value = end.value
    return value


class _Reader:
    def __init__(self, text):
        data = text.encode("utf-8", "strict")
        self.lines = data.split(b"\n")
        if self.lines[-1] == b"":
            self.lines.pop()
        self.at = 0
        self.path = []
        self.notes = []

    def refuse(self, why, line=None):
        number = self.at if line is None else line
        shown = (self.lines[number].decode("utf-8") if
                 number < len(self.lines) else "the end")
        raise NotAPrint("line %d: %s: %s" % (number + 1, why, shown))

    def peek(self):
        if self.at >= len(self.lines):
            self.refuse("the text ends too early")
        return self.lines[self.at]

    def expect(self, line):
        if self.peek() != line:
            self.refuse("not what stands here in a print")
        self.at += 1

    def rest(self, indent):
        """The next line behind its indent."""
        line = self.peek()
        if not line.startswith(indent):
            self.refuse("not indented as in a print")
        return line[len(indent):]

    def note(self, what):
        self.notes.append({"path": list(self.path), "note": what})

    def document(self):
        return self.members(0, None)

    def members(self, level, close):
        """An object's members, or an array's items, up to the closing line."""
        found = None
        indent = _indent(level)
        last = None
        while (self.at < len(self.lines) if close is None
               else self.peek() != close):
            line = self.rest(indent)
            shape = _CONTAINER.match(line)
            item = shape is not None and shape.group(1) == b""
            if found is None:
                found = [] if item else {}
            if item != isinstance(found, list):
                self.refuse("a member among items, or an item among members")
            if item:
                self.path.append(len(found))
                found.append((yield self.container(indent, level, shape)))
            else:
                last = yield self.member(found, last, indent, level, shape)
            self.path.pop()
        return found

    def member(self, found, last, indent, level, shape):
        """Adds the next member to those found; its key as it is printed."""
        line = self.rest(indent)
        if shape is not None:
            if not shape.group(1).endswith(b" "):
                self.refuse("no blank behind a key")
            key = self.enter(found, last, shape.group(1)[:-1])
            found[key] = yield self.container(indent, level, shape)
            return key.encode("utf-8")
        field, value, is_number = self.split(line)
        key = self.enter(found, last, self.unpadded(field))
        self.at += 1
        shows_hex = any(word in key for word in ("PCI", "Address", "OOB"))
        found[key] = self.scalar(key, value, is_number, shows_hex)
        return key.encode("utf-8")

    def enter(self, found, last, raw):
        """The key; a print has each once, in the order of their bytes."""
        key = raw.decode("utf-8")
        if key in found:
            self.refuse("the same key again")
        if last is not None and raw < last and (
                raw.ljust(_KEY_WIDTH) < last.ljust(_KEY_WIDTH)):
            self.refuse("a key out of order")
        self.path.append(key)
        return key

    def unpadded(self, field):
        if len(field) < _KEY_WIDTH:
            self.refuse("a key that is not filled up with blanks")
        return field.rstrip(b" ") if len(field) == _KEY_WIDTH else field

    def split(self, line):
        """A line's key field and value, a number as text. At most one split
        has a value: the quote of a later one would stand unescaped in an
        earlier one."""
        shape = _SCALAR.match(line)
        if shape is None:
            self.refuse("no member of a print")
        body, kind = shape.group(1), shape.group(2).decode("ascii")
        at = body.find(b" : ", _KEY_WIDTH)
        while at >= 0:
            value = self.value(body[at + 3:].decode("utf-8"), kind)
            if value is not _NONE:
                return body[:at], value, kind == "number"
            at = body.find(b" : ", at + 1)
        return self.refuse("no value of its type")

    @staticmethod
    def value(text, kind):
        """The value that the printer prints so, a number as text."""
        if kind == "number":
            number = _HEX.match(text) or _NUMBER.match(text)
            return text if number else _NONE
        if kind != "string":
            return _WORDS[kind].get(text, _NONE)
        if _PLAIN.match(text):
            return text[1:-1]
        try:
            value = json.loads(text)
        except ValueError:
            return _NONE
        printed = (isinstance(value, str) and
                   json.dumps(value, ensure_ascii=False) == text)
        return value if printed else _NONE

    def scalar(self, key, value, is_number, shows_hex):
        if not is_number:
            return value
        if bool(_HEX.match(value)) != shows_hex:
            self.refuse("hexadecimal where decimal is printed, or the other "
                        "way round", self.at - 1)
        return self.hexadecimal(key, value) if shows_hex else self.number(value)

    def number(self, text):
        value = json.loads(text)
        if isinstance(value, int) and not -2**63 <= value < 2**64:
            self.refuse("a number that no print has", self.at - 1)
        return value

    def hexadecimal(self, key, text):
        value = int(text, 16)
        named = "Id" in key or "ID" in key
        if text != ("0x%04x" if named else "0x%x") % value or (
                value >= (1 << 16 if named else 1 << 32)):
            self.refuse("a hexadecimal number of another width", self.at - 1)
        self.note("the low %d bits of a number" % (16 if named else 32))
        return value

    def container(self, indent, level, shape):
        """What is in an object or array of the outer of two levels."""
        self.at += 1
        count = int(shape.group(3))
        if shape.group(2) == b"array":
            self.expect(indent + b"[")
            value = yield self.elements(indent + b"    ", level + 2, count)
            self.expect(indent + b"]")
            return value
        self.expect(indent + b"{")
        value, last = {}, None
        for _number in range(count):
            last = yield self.entry(value, last, indent + b"    ", level)
            self.path.pop()
        self.expect(indent + b"}")
        return value

    def entry(self, found, last, indent, level):
        """Adds the next member of the inner of two levels."""
        line = self.rest(indent)
        shape = _CONTAINER.match(line)
        if shape is not None:
            if not shape.group(1).endswith(b" "):
                self.refuse("no blank behind a key")
            key = self.enter(found, last, self.unpadded(shape.group(1)[:-1]))
            found[key] = yield self.inner(indent, level, shape)
            return key.encode("utf-8")
        field, value, is_number = self.split(line)
        key = self.enter(found, last, self.unpadded(field))
        self.at += 1
        found[key] = self.scalar(key, value, is_number, "PCI" in key)
        return key.encode("utf-8")

    def inner(self, indent, level, shape):
        self.at += 1
        start = self.at - 1
        count = int(shape.group(3))
        if shape.group(2) == b"array":
            self.expect(indent + b"[")
            value = yield self.elements(indent + b"    ", level + 3, count)
            self.expect(indent + b"]")
            return value
        self.expect(indent + b"{")
        value = yield self.members(level + 2, indent + b"}")
        self.expect(indent + b"}")
        value = {} if value is None else value
        if not isinstance(value, dict) or len(value) != count:
            self.refuse("another count of members", start)
        return value

    def elements(self, indent, level, count):
        found = []
        for number in range(count):
            self.path.append(number)
            found.append((yield self.element(indent, level)))
            self.path.pop()
        return found

    def element(self, indent, level):
        rest = self.rest(indent)
        if rest == b"{":
            self.at += 1
            value = yield self.members(level, indent + b"},")
            self.expect(indent + b"},")
            if value is None:
                self.note("an empty object or array")
            return {} if value is None else value
        text = rest.decode("utf-8")
        self.at += 1
        if _NUMBER.match(text):
            return self.number(text)
        for kind in ("string", "boolean", "null"):
            value = self.value(text, kind)
            if value is not _NONE:
                return value
        return self.refuse("no element of an array", self.at - 1)


def _read(text):
    if not isinstance(text, str):
        raise NotAPrint("not a text")
    try:
        reader = _Reader(text)
    except UnicodeEncodeError:
        raise NotAPrint("the text is not UTF-8")
    document = _drive(reader.document())
    if document is None:
        reader.note("an empty document")
        document = {}
    return document, reader.notes


def parse(text):
    """The document; raises NotAPrint with the line for any other text."""
    return _read(text)[0]


def notes(text):
    """The places whose value the print does not tell for sure: path, note."""
    return _read(text)[1]
