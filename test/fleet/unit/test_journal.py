# SPDX-License-Identifier: Apache-2.0
"""docs/journal.md names exactly the records that the sources write."""

import pathlib
import re

from plugin_utils import verdict

ROOT = pathlib.Path(__file__).resolve().parents[3]
LITERALS = r'((?:"(?:[^"\\]|\\.)*"\s*)+)'
CALL = re.compile(r"lg2::(info|warning|error|debug|notice|critical|alert)"
                  r"\(\s*" + LITERALS)
ROW = re.compile(r"^\| `` (.+?) `` \| (\w+) \| (.*?) \|", re.M)


def joined(literals):
    return "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals))


def sources():
    return "\n".join(path.read_text() for folder in ("io", "tool")
                     for path in sorted((ROOT / folder).rglob("*.[ch]pp")))


def rows():
    return ROW.findall((ROOT / "docs/journal.md").read_text())


def test_every_record_has_its_row_and_every_row_its_record():
    text = sources()
    written = {(joined(literals), level)
               for level, literals in CALL.findall(text)}
    assert len(written) > 50
    # Each call was understood: none has a format that is no literal.
    assert len(CALL.findall(text)) == len(re.findall(r"\blg2::\w+\(", text))
    assert {(message, level) for message, level, _ in rows()} == written


def test_no_record_has_two_rows():
    messages = [message for message, _, _ in rows()]
    assert len(messages) == len(set(messages))


def test_the_fields_of_a_row_are_those_of_its_message():
    for message, _, fields in rows():
        named = re.findall(r"`([A-Z0-9]+)`", fields)
        assert named == re.findall(r"\{([A-Z0-9]+)\}", message), message


def test_the_events_of_the_registry_are_named():
    page = (ROOT / "docs/journal.md").read_text()
    ids = set(re.findall(r'"(HRLKD[A-Z]{2}[0-9]{4}[A-Z])"', sources()))
    assert len(ids) > 10
    assert set(re.findall(r"`(HRLKD[A-Z]{2}[0-9]{4}[A-Z])`", page)) == ids


def test_the_verdicts_rest_on_records_that_are_written():
    known = {message for message, _, _ in rows()}
    relied = {*verdict._STEPS, *verdict._BLOCK_ERRORS, verdict._BLOCK}
    source = pathlib.Path(verdict.__file__).read_text()
    for call in re.findall(r"records\.(?:has|all)\(\s*" + LITERALS, source):
        relied.add(joined(call))
    relied.add("Responder version {V}, capabilities {R}, asym algo {AA}, "
               "hash algo {HA}, measurement hash algo {MH}")
    assert len(relied) > 15
    assert relied <= known
