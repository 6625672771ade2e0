# SPDX-License-Identifier: Apache-2.0
"""The runner itself: what it plants where, and that nothing of it stays."""

import pathlib
import subprocess

import pytest

import by_hand
import campaign
import plant
import report
from tree import Sources, Tree

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEAD = "void f(T a)\n{\n"


def planted(text):
    """What faults make of a function's body."""
    whole = f"{HEAD}    {text}\n}}\n"
    found = plant.faults("a.cpp", whole)
    return {" ".join(fault.plant(whole)[len(HEAD):-3].split())
            for fault in found if fault.kind != "early return"}


@pytest.mark.parametrize("text, others", [
    ("g(a == b);", {"g(a != b);", ";"}),
    ("return a < b;", {"return a <= b;", "return a >= b;", "return {};"}),
    ("return !a;", {"return a;", "return {};"}),
    ("x = a + 0x10;", {"x = a - 0x10;", "x = a + 0x11;", "x = a + 0xf;", ";"}),
    ("const int x = 07;", {"const int x = 010;", "const int x = 06;"}),
    ("return true;", {"return false;"}),
    ("for (;;) { ++a; }", {"for (;;) { --a; }"}),
    ("if (a) { g(); } else { h(); }", {
        "if (false) { g(); } else { h(); }", "if (true) { g(); } else { h(); }",
        "if (!(a)) { g(); } else { h(); }",
        "if ((a) && false) { g(); } else { h(); }",
        "if (a) { } else { h(); }", "if (a) { g(); } else { }",
        "if (a) { ; } else { h(); }", "if (a) { g(); } else { ; }"}),
    ("if (T b = g(); b) { }", {
        "if (T b = g(); false) { }", "if (T b = g(); true) { }",
        "if (T b = g(); !(b)) { }", "if (T b = g(); (b) && false) { }"}),
    ("try { } catch (...) { g(); }", {"try { } catch (...) { }",
                                      "try { } catch (...) { ; }"}),
])
def test_a_fault_of_each_kind(text, others):
    assert planted(text) == others


@pytest.mark.parametrize("text", [
    "// a == b", "/* if (a) */", 'const char* x = "a == b";', "T<a> b;",
    "const T& b = *c;", "static_assert(a == 4);", "if (T* b = g()) { }",
])
def test_what_no_fault_is_planted_in(text):
    assert planted(text) == set()


@pytest.mark.parametrize("head, early", [
    ("void f()", ["{ return;"]), ("bool A::f() const", ["{ return true;",
                                                        "{ return false;"]),
    ("int f()", ["{ return {};"]), ("namespace a", []), ("struct A", []),
])
def test_a_function_may_return_early(head, early):
    found = plant.faults("a.cpp", head + "\n{\n    g();\n}\n")
    assert [fault.after for fault in found
            if fault.kind == "early return"] == early


def test_a_bool_is_another_bool():
    text = "bool f(T a)\n{\n    return g(a);\n}\n"
    assert ("g(a)", "!(g(a))") in [(fault.before, fault.after)
                                   for fault in plant.faults("a.cpp", text)]


class Written(dict):
    """Sources that are there without a commit."""

    def names(self):
        return list(self)

    def read(self, name):
        return self[name]


def test_the_same_seed_draws_the_same():
    sources = Written({f"{name}.cpp": HEAD + "g(a == b);\n}\n"
                       for name in "abcdefgh"})
    draws = [campaign.draw(sources, seed) for seed in (1, 1, 2)]
    assert draws[0] == draws[1] != draws[2]
    assert sorted(draws[0].values()) == sorted(draws[2].values())
    assert {fault.file for fault in
            campaign.draw(sources, 1, ["b.cpp"]).values()} == {"b.cpp"}


def test_the_faults_by_hand_are_of_these_sources():
    sources = Written()
    sources.read = lambda name: (ROOT / name).read_text()
    assert len(by_hand.faults(sources)) >= 10


@pytest.fixture(name="project")
def fixture_project(tmp_path):
    """A project with one commit, and that commit."""
    folder = tmp_path / "project"
    (folder / "tool").mkdir(parents=True)
    (folder / "tool/a.cpp").write_text("good\n")
    (folder / "README.md").write_text("good\n")
    git = ["git", "-C", folder, "-c", "user.name=a", "-c", "user.email=a@b"]
    subprocess.run([*git, "init", "-q"], check=True)
    subprocess.run([*git, "add", "."], check=True)
    subprocess.run([*git, "commit", "-q", "-m", "a"], check=True)
    return folder, subprocess.check_output(
        [*git, "rev-parse", "HEAD"], text=True).strip()


def test_the_project_keeps_its_tree(project, tmp_path):
    folder, commit = project
    (folder / "tool/a.cpp").write_text("changed since\n")
    tree = Tree(folder, tmp_path / "tree", commit)
    with pytest.raises(KeyboardInterrupt):
        with tree.planted("tool/a.cpp", "bad\n"):
            assert tree.read("tool/a.cpp") == "bad\n"
            raise KeyboardInterrupt
    assert tree.read("tool/a.cpp") == "good\n"
    assert (folder / "tool/a.cpp").read_text() == "changed since\n"
    assert Sources(folder, commit).names() == ["tool/a.cpp"]
    assert Sources(folder, commit).read("tool/a.cpp") == "good\n"


def test_what_a_killed_run_left_is_gone(project, tmp_path):
    folder, commit = project
    Tree(folder, tmp_path / "tree", commit)
    (tmp_path / "tree/tool/a.cpp").write_text("bad\n")
    assert Tree(folder, tmp_path / "tree",
                commit).read("tool/a.cpp") == "good\n"


FAULTS = {number: plant.Fault("tool/a.cpp", number, "operator", 0, 2, "==", to)
          for number, to in enumerate(("!=", "<", "syntax", ">", "<="))}


class Judge:
    """A worker whose verdicts are known."""

    def __init__(self):
        self.asked = []

    def ask(self, fault, is_first):
        self.asked.append((fault.line, is_first))
        result = {"!=": campaign.CAUGHT, "syntax": campaign.REFUSED,
                  "<": campaign.PASSED if is_first else campaign.SURVIVED,
                  ">": campaign.SAME, "<=": campaign.PASSED if is_first
                  else campaign.CAUGHT}[fault.after]
        more = {"test": "tool", "case": "A.b", "in": 1} \
            if result == campaign.CAUGHT else {}
        return {"result": result, "seconds": 1, **more}


def test_a_campaign_asks_first_the_near_tests_and_goes_on_later(tmp_path):
    judge, file = Judge(), tmp_path / "a.jsonl"
    campaign.Campaign([judge], FAULTS, campaign.Records(file)).first(2)
    # Where one does not compile there is another.
    campaign.Campaign([judge], FAULTS, campaign.Records(file)).first(4)
    assert judge.asked == [(0, True), (1, True), (2, True), (3, True),
                           (4, True)]
    records = campaign.Records(file)
    campaign.Campaign([judge], {}, records).others()
    campaign.Campaign([judge], FAULTS, records).others()
    assert judge.asked[5:] == [(1, False), (4, False)]
    assert campaign.Records(file).last == records.last
    assert [records.last[number]["result"] for number in sorted(FAULTS)] == [
        campaign.CAUGHT, campaign.SURVIVED, campaign.REFUSED, campaign.SAME,
        campaign.CAUGHT]


def test_the_summary_counts_what_does_harm(tmp_path, monkeypatch):
    monkeypatch.setattr(report, "RESULTS", tmp_path)
    records = campaign.Records(tmp_path / "a.jsonl")
    run = campaign.Campaign([Judge()], FAULTS, records)
    run.first(4)
    run.others()
    assert "| all | 4 | 2 | 1 | 1 | 66.7 % |" in report.markdown(
        "a", records.last, 1, "0" * 40)
    left = report.left("a", records.last)
    assert [item["number"] for item in left] == [1]
    (tmp_path / "a.harmless").write_text("1 nobody can tell\n")
    assert "| all | 4 | 2 | 2 | 0 | 100.0 % |" in report.markdown(
        "a", records.last, 1, "0" * 40)
    assert not report.left("a", records.last)
    moved = FAULTS[1]._replace(line=7, start=9, end=11)
    assert report.survivors_in(left, [moved, FAULTS[0]]) == {1: moved}
