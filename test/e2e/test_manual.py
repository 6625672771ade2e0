# SPDX-License-Identifier: Apache-2.0
"""The manual page says what the program does: compared, not trusted."""

import re
import subprocess

import pytest

from documented import OPERATIONS, OPTIONS, TARGETS, usage
from harness import environment, sim_env
from scenarios import server

PAGE = sim_env.ROOT / "man/zantric.8"
# A literal of the sources that tells of a failure.
TELLS = re.compile(r"fail|not |invalid|unknown|unexpected|unsupported|"
                   r"exception|\bno |insufficient|cannot", re.IGNORECASE)
# A check that no caller of the tool can fail, and a value of a listing.
NO_MESSAGES = ("getSubTree failed, invalid parameter: searchPath",
               "Unknown(0x")


def sections():
    """The page's source by section."""
    pieces = re.split(r'^\.SH (.+)$', PAGE.read_text(), flags=re.MULTILINE)
    return dict(zip(pieces[1::2], pieces[2::2]))


def plain(text):
    return re.sub(r"\\f.", "", text).replace("\\-", "-")


def heads(section):
    """The text of each paragraph's head, macros and quotes gone."""
    found = re.findall(r"^\.T[PQ]\n\.[A-Z]+ (.+)$", sections()[section],
                       flags=re.MULTILINE)
    return [plain(head) for head in found]


def bold(head):
    """The literal parts of a head in .B, .BI or .IB."""
    macro, rest = head
    words = re.findall(r'"([^"]*)"|(\S+)', rest)
    words = [one or other for one, other in words]
    if macro == "B":
        return [plain(rest.strip('"'))]
    start = 0 if macro == "BI" else 1
    return [plain(word) for word in words[start::2]]


def documented_messages():
    found = re.findall(r"^\.T[PQ]\n\.(B|BI|IB) (.+)$",
                       sections()["DIAGNOSTICS"], flags=re.MULTILINE)
    return [piece for head in found for piece in bold(head)]


def literals():
    """Each string of the sources, adjacent pieces joined, and whether it is
    printed."""
    found = []
    for folder in ("tool", "io/common/src"):
        for path in sorted((sim_env.ROOT / folder).rglob("*.[ch]pp")):
            text = re.sub(r"^\s*//.*$", "", path.read_text(),
                          flags=re.MULTILINE)
            text = re.sub(r'"\s*\n\s*"', "", text)
            for match in re.finditer(r'"((?:[^"\\\n]|\\.)*)"', text):
                statement = text[:match.start()].rsplit(";", 1)[-1]
                printed = re.search(r"out::|cat\(|guarded\(|Check|return",
                                    statement)
                found.append((match[1], printed is not None))
    return found


def pieces(literal):
    """A literal without what printf puts in."""
    return [piece.strip() for piece in re.split(r"\\n", literal)]


def test_every_option_has_its_paragraph():
    assert [head.split()[0] for head in heads("OPTIONS")] == [
        "-h", "-o", "-a", "-s", "-t", "-r", "-p", "-f", "-v"]
    assert {head.split()[0] for head in heads("OPTIONS")} == set(OPTIONS)


def test_every_operation_has_its_paragraph():
    words = re.findall(r"[#\w.]+", " ".join(heads("OPERATIONS")))
    assert sorted(words) == sorted(OPERATIONS)


@pytest.mark.parametrize("word", OPERATIONS)
def test_every_operation_is_known_to_the_program(bmc, word):
    """Whatever it needs, the word itself is taken."""
    bmc.start(server())
    out = bmc.run("-o", word, "-a", "0").out
    assert "Unknown operation" not in out
    assert "Unknown action" not in out
    assert "Unsupported" not in out


def test_every_operation_of_the_usage_text_is_documented():
    named = set(re.findall(r"^        (\w+) +#", usage(), re.MULTILINE))
    assert len(named) == 12
    assert named <= set(OPERATIONS)


def test_every_target_is_documented():
    words = {plain(word) for word in
             re.findall(r"^\.BR (\w+) [,.]", sections()["TARGETS"],
                        flags=re.MULTILINE)}
    assert words == set(TARGETS)


@pytest.mark.parametrize("message", documented_messages())
def test_each_message_is_one_of_the_program(message):
    """No message of an earlier version stays in the page."""
    known = {piece for literal, _ in literals() for piece in pieces(literal)}
    assert message.strip() in known


def test_each_message_of_the_program_is_documented():
    """A new failure needs its line in the page."""
    page = {message.strip() for message in documented_messages()}
    page |= set(re.findall(r'"([^"]+)"', sections()["DIAGNOSTICS"]))
    missing = [piece for literal, printed in literals() if printed
               for piece in pieces(literal)
               if TELLS.search(piece) and piece not in page
               and piece not in NO_MESSAGES]
    assert missing == []


@pytest.mark.parametrize("page", ["zantric.8", "zantric-sim.1"])
@pytest.mark.parametrize("words", [
    ["groff", "-man", "-Tutf8", "-ww", "-z"], ["mandoc", "-T", "lint"]])
def test_a_page_has_no_mistakes_in_its_markup(words, page):
    """Each warning of a formatter is a line of text."""
    result = subprocess.run(
        [*words, str(PAGE.with_name(page))],
        capture_output=True, text=True, env=environment(), check=False)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")
