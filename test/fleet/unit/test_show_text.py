# SPDX-License-Identifier: Apache-2.0
"""What the real printer prints is read back; nothing else is read."""

import json
import os

import documents
import pytest
from plugin_utils import show_text

COUNT = int(os.environ.get("FLEET_DOCUMENTS", "2000"))
BATCH = 1000


def same(left, right):
    """Equal, and of the same types: 1, 1.0 and True are three values, and so
    are 0.0 and -0.0."""
    if type(left) is not type(right):
        return False
    if isinstance(left, dict):
        return left.keys() == right.keys() and all(
            same(value, right[key]) for key, value in left.items())
    if isinstance(left, list):
        return len(left) == len(right) and all(map(same, left, right))
    return repr(left) == repr(right)


def ends_in_blank(node):
    """Whether a key ends with a blank, which a print may lose."""
    if isinstance(node, dict):
        return any(key.endswith(" ") or ends_in_blank(value)
                   for key, value in node.items())
    return isinstance(node, list) and any(map(ends_in_blank, node))


def test_random_documents_come_back():
    compared = 0
    for start in range(0, COUNT, BATCH):
        batch = [documents.Generator(seed).document()
                 for seed in range(start, start + BATCH)]
        for document, text in zip(batch, documents.printed(batch), strict=True):
            assert text is not None, document
            try:
                result = show_text.parse(text)
            except show_text.NotAPrint:
                # Two keys that differ by such blanks are printed alike.
                assert ends_in_blank(document), (document, text)
                continue
            assert same(result, documents.kept(document)), (document, text)
            compared += 1
    assert compared > COUNT * 0.99


def one(document):
    text, = documents.printed([document])
    return text


@pytest.mark.parametrize("document", [
    {"a": [[], {}, [[{"b": 1}]]]},
    [{"x": {}}, [], [{"y": []}]],
    {"": {"": {"": ""}}},
    {"k": {"a": {"b": {"c": {"d": {"e": [1, {"f": [[[]]]}]}}}}}},
    {"Name": "x\n}\ny", "Z": {"}": "}"}},
])
def test_nested_documents_come_back(document):
    assert show_text.parse(one(document)) == documents.kept(document)


def test_the_deepest_document_comes_back():
    document = "leaf"
    for _ in range(511):
        document = {"k": document}
    result = show_text.parse(one(document))
    for _ in range(511):
        result = result["k"]
    assert result == "leaf"


def test_what_a_print_does_not_keep_is_noted():
    text = one({"PCIeVendorId": 70000, "BusAddress": -1, "a": [[], 1]})
    assert show_text.parse(text) == {"PCIeVendorId": 0x1170,
                                     "BusAddress": 0xffffffff, "a": [{}, 1]}
    assert show_text.notes(text) == [
        {"path": ["BusAddress"], "note": "the low 32 bits of a number"},
        {"path": ["PCIeVendorId"], "note": "the low 16 bits of a number"},
        {"path": ["a", 0], "note": "an empty object or array"}]
    assert show_text.notes(one({"a": 1})) == []


def test_nothing_is_an_empty_document():
    assert [one(item) for item in ({}, [], None)] == [""] * 3
    assert show_text.parse("") == {}
    assert show_text.notes("")[0]["note"] == "an empty document"


def test_a_key_with_a_line_break_is_refused():
    with pytest.raises(show_text.NotAPrint, match="line 1: "):
        show_text.parse(one({"two\nlines": 1}))


GOOD = one({"Name": "x", "N": 5, "PCIeId": 1, "o": {"p": [1, {"q": None}]}}) \
    if "PRINT_DOCUMENTS" in os.environ else ""


@pytest.mark.parametrize("change, line", [
    (lambda t: "Failed to get Drives\n" + t, 1),
    (lambda t: t.replace('"x"', '"x'), 2),
    (lambda t: t.replace('"x"', "x"), 2),
    (lambda t: t.replace('"x"', '"\\u0078"'), 2),
    (lambda t: t.replace("5 (number)", "05 (number)"), 1),
    (lambda t: t.replace("5 (number)", "0x5 (number)"), 1),
    (lambda t: t.replace("5 (number)", "NaN (number)"), 1),
    (lambda t: t.replace("5 (number)", "99999999999999999999 (number)"), 1),
    (lambda t: t.replace("5 (number)", "5 (string)"), 1),
    (lambda t: t.replace("0x0001", "0x1"), 3),
    (lambda t: t.replace("0x0001", "1"), 3),
    (lambda t: t.replace("(object, 1)", "(object, 2)"), 13),
    (lambda t: t.replace("(array, 2)", "(array, 3)"), 12),
    (lambda t: t.replace("(array, 2)", "(array, 1)"), 9),
    (lambda t: t[:t.rindex("}")], 13),
    (lambda t: t + "}\n", 14),
    (lambda t: t.replace("\n", "\r\n"), 1),
    (lambda t: "\n" + t, 1),
    (lambda t: t + t, 14),
    (lambda t: t.replace("Name ", "Name"), 2),
    (lambda t: t.replace("    p", "   p"), 6),
])
def test_what_is_no_print_is_refused_with_the_line(change, line):
    show_text.parse(GOOD)
    assert change(GOOD) != GOOD
    with pytest.raises(show_text.NotAPrint, match=f"^line {line}: "):
        show_text.parse(change(GOOD))


@pytest.mark.parametrize("text", [b"bytes", None, 5])
def test_only_text_is_read(text):
    with pytest.raises(show_text.NotAPrint):
        show_text.parse(text)


def test_text_that_is_not_utf8_is_refused():
    with pytest.raises(show_text.NotAPrint, match="UTF-8"):
        show_text.parse(GOOD + "\udcff")


def test_every_cut_but_the_last_newline_is_refused_or_shorter():
    whole = show_text.parse(GOOD)
    for length in range(1, len(GOOD) - 1):
        try:
            assert show_text.parse(GOOD[:length]) != whole
        except show_text.NotAPrint:
            continue
    assert json.dumps(show_text.parse(GOOD[:-1])) == json.dumps(whole)
