# SPDX-License-Identifier: Apache-2.0
"""What the benchmark reads out of its tools' output, and makes of it."""

import json

import pytest

from bench import cases, measure, report


def test_callgrinds_total_is_read():
    text = "==7== Events    : Ir\n==7== Collected : 1242513\n==7== \n"
    assert measure.read_instructions(text) == 1242513


def test_a_run_that_callgrind_did_not_count_is_a_failure():
    with pytest.raises(measure.Failure):
        measure.read_instructions("valgrind: no such program")


def test_the_peak_comes_after_what_the_program_said():
    assert measure.read_memory("4711 things went wrong\n3512\n") == 3512


def test_times_keep_the_order_of_the_commands():
    text = json.dumps({"results": [{"median": 0.004, "min": 0.003},
                                   {"median": 0.002, "min": 0.001}]})
    assert measure.read_times(text, "median") == [0.004, 0.002]
    assert measure.read_times(text, "min") == [0.003, 0.001]


def test_what_is_loaded_is_code_and_data_without_zeroes():
    text = "   text\t   data\t    bss\t    dec\t    hex\tfilename\n" \
           " 200000\t   3000\t    900\t 203900\t  31c7c\ta.out\n"
    assert measure.read_load_size(text) == 203000


def test_a_disturbed_round_does_not_change_a_ratio():
    rows = [{"floor": 1.0, "zantric": 1.2}, {"floor": 9.0, "zantric": 10.8},
            {"floor": 1.0, "zantric": 50.0}]
    assert measure.paired_ratios(rows, "floor") == {
        "floor": 1.0, "zantric": pytest.approx(1.2)}


def test_every_command_comes_first_in_its_turn():
    commands = {"a": ["x"], "b": ["y"], "c": ["z"]}
    orders = [list(measure.rotated(commands, turn)) for turn in range(4)]
    assert [order[0] for order in orders] == ["a", "b", "c", "a"]
    assert all(set(order) == set(commands) for order in orders)


@pytest.mark.parametrize("size", [3000, 1000000])
def test_a_listing_is_about_as_long_as_asked(size):
    text = cases.document_of_size("Volumes", cases.volume, size)
    assert len(text) == pytest.approx(size, rel=0.1)
    assert json.loads(text)["Volumes"][0]["Id"] == "0"


def test_logged_calls_become_words_for_the_floor():
    call = {"destination": "a.b", "path": "/a", "interface": "a.c",
            "member": "M", "signature": "sias", "args": ["x", 1, ["y", "z"]]}
    assert cases.floor_words([call, {**call, "signature": "", "args": []}]) == [
        "a.b", "/a", "a.c", "M", "sias", "x", "1", "2", "y", "z",
        "a.b", "/a", "a.c", "M", ""]


def results(size=200000, with_attestation=1000):
    """Results that meet every goal unless they are asked not to."""
    cost = {"time": 1.0, "ms": 1.0, "instructions": 1000, "kB": 3000}
    slow = {"time": 3.0, "ms": 3.0, "instructions": 9000, "kB": 4000}
    grown = {count: {"ms": count, "instructions": count}
             for count in (10, 100, 1000, 10000)}
    table = {"floor": cost, "busctl call": slow, "zantric": cost}
    return {"machine": report.machine(), "call 3 kB": table,
            "call 1 MB": table, "listing": table,
            "growth": {"drives listed": grown},
            "start": {"with": with_attestation, "without": 1000},
            "size": {"file": size, "loaded": size}}


def test_goals_that_are_met():
    assert all(goal.met for goal in report.goals(results()))
    assert "missed" not in report.markdown(results())


@pytest.mark.parametrize("change", [{"size": 250001},
                                    {"with_attestation": 1021}])
def test_a_missed_goal_is_told(change):
    missed = [goal for goal in report.goals(results(**change))
              if not goal.met]
    assert len(missed) == 1
    assert report.markdown(results(**change)).count("**missed**") == 1
