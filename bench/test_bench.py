# SPDX-License-Identifier: Apache-2.0
"""What the benchmark reads out of its tools' output, and makes of it."""

import copy
import json
import subprocess

import pytest

from bench import arm, cases, history, measure, report


def test_callgrinds_total_is_read():
    text = "==7== Events    : Ir\n==7== Collected : 1242513\n==7== \n"
    assert measure.read_instructions(text) == 1242513


def test_every_process_of_a_pipe_counts():
    text = "==7== Collected : 1000\n==8== Collected : 30\n==6== Collected : 5\n"
    assert measure.read_instructions(text) == 1035


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


def exchange(*message):
    """A logged exchange of an attestation."""
    return {"destination": "a.b", "path": "/a", "interface": "a.c",
            "member": "SendReceiveMctpMessagePayload", "signature": "yayq",
            "args": [9, [5, *message], 1000]}


def test_logged_exchanges_become_words_for_the_attestations_floor():
    table = {**exchange(), "member": "GetRoutingTable", "args": []}
    assert cases.attest_floor_words(
        [table, exchange(0x10, 0x84, 0, 0), exchange(0xff)]) == [
            "a.b", "9", "0510840000", "05ff"]


def test_nonces_are_no_part_of_a_calls_shape():
    calls = [exchange(0x12, 0x83, 1, 2)]
    assert cases.shapes(calls) == cases.shapes([exchange(0x12, 0x83, 3, 4)])
    assert cases.shapes(calls) != cases.shapes([exchange(0x12, 0x83, 1)])
    assert cases.shapes(calls) != cases.shapes(2 * calls)


def test_the_time_of_loading_is_read():
    text = "a word\n/usr/lib/a.so loaded in 612345 ns\n"
    assert measure.read_loading(text) == pytest.approx(0.000612345)
    with pytest.raises(measure.Failure):
        measure.read_loading("no such device\n")


def test_what_qemu_counted_is_read():
    text = "a word\n1258319 instructions, 222 pages\n"
    assert measure.read_counted(text) == {"instructions": 1258319, "kB": 888}
    with pytest.raises(measure.Failure):
        measure.read_counted("qemu-arm: no such plugin\n")


def test_what_was_counted_for_arm_is_told_and_kept():
    tables = {name: {"floor": {"instructions": 2000000, "kB": 100},
                     "zantric": {"instructions": 3000000, "kB": 120}}
              for name in report.TABLES}
    assert "| listing | zantric | 3.00 | 1.50 | 120 | 1.20 |" in (
        arm.markdown(tables))
    assert arm.figures(tables)["attestation: instructions"][0] == 3000000
    worse = {**tables, "listing": {"zantric": {"instructions": 3100000,
                                               "kB": 120}}}
    old, new = (history.entry(report.machine(), arm.figures(counted), "a1")
                for counted in (tables, worse))
    assert [row[0] for row in history.regressions(old, new)] == [
        "listing: instructions"]


def results(size=200000, with_attestation=1000, limits=None, load=0.6):
    """Results that meet every goal unless they are asked not to."""
    cost = {"time": 1.0, "ms": 1.0, "instructions": 1000, "kB": 3000,
            "noise": 0.01}
    slow = {"time": 3.0, "ms": 3.0, "instructions": 9000, "kB": 4000}
    grown = {count: {"ms": count, "instructions": count}
             for count in (10, 100, 1000, 10000)}
    table = {"floor": cost, "busctl call": slow,
             "busctl --json=short call": slow,
             "busctl --json=short call | jq": slow,
             "zantric": cost, report.BMC: cost}
    return {"machine": report.machine(), "call 3 kB": table,
            "call 1 MB": table, "listing": table, "attestation": table,
            "load": {"ms": load, "noise": 0.01},
            "growth": {"drives listed": grown},
            "limits": limits or {"kB": 9000, "drives": 0, "show": 0},
            "start": {"with": with_attestation, "without": 1000},
            "size": {"file": size, "loaded": size}}


def test_goals_that_are_met():
    assert all(goal.met for goal in report.goals(results()))
    assert "missed" not in report.markdown(results())


def test_a_pipe_in_a_name_ends_no_cell():
    text = report.markdown(results())
    assert "\n| busctl --json=short call \\| jq | 3.00 |" in text


@pytest.mark.parametrize("change", [
    {"size": 250001}, {"with_attestation": 1021}, {"load": 0.71},
    {"limits": {"kB": 12001, "drives": 0, "show": 0}},
    {"limits": {"kB": 9000, "drives": 255, "show": 0}}])
def test_a_missed_goal_is_told(change):
    missed = [goal for goal in report.goals(results(**change))
              if not goal.met]
    assert len(missed) == 1
    assert report.markdown(results(**change)).count("**missed**") == 1


def test_noise_is_the_middle_half_of_the_rounds():
    rows = [{"floor": 1.0, "it": value} for value in (1.9, 2.0, 2.0, 2.1, 9.0)]
    assert measure.noise(rows, "floor", "it") == pytest.approx(0.05)


def test_memory_is_limited():
    small = ["python3", "-c", "pass"]
    large = ["python3", "-c", "bytes(1 << 30)"]
    assert measure.limited_status(small, 1 << 29) == 0
    assert measure.limited_status(large, 1 << 29) != 0


def test_jq_prints_the_columns_of_a_listing(tmp_path):
    words = cases.competitors({}, "floor")["busctl --json=short call | jq"]
    busctl = tmp_path / "busctl"
    reply = {"type": "s", "data": [cases.document("Volumes", cases.volume, 1)]}
    busctl.write_text(f"#!/bin/sh\ncat <<'END'\n{json.dumps(reply)}\nEND\n")
    busctl.chmod(0o755)
    line = subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True,
                          env={"PATH": f"{tmp_path}:/usr/bin:/bin"}).stdout
    assert line.startswith("  vd0, ResId 0, RAID5, 1788")
    assert line.endswith("GiB; StripSize=256KB, ReadAhead, WriteBack, "
                         "WtCacheState=Protected\n")


def runs(*changes):
    """A history in which some of a run's figures are others."""
    first = history.entry(results()["machine"], history.figures(results()),
                          "a1")
    found = [first]
    for commit, change in enumerate(changes):
        run = copy.deepcopy(first)
        run["commit"] = f"b{commit}"
        run["figures"].update(change)
        found.append(run)
    return found


def test_a_history_is_read_as_it_was_written(tmp_path):
    path = tmp_path / "history"
    assert history.read(path) == []
    for run in runs({}):
        history.append(path, run)
    assert history.read(path) == json.loads(json.dumps(runs({})))


def test_what_moves_within_the_noise_is_not_told():
    name = "call 3 kB: zantric, time"
    assert history.comparison(runs({name: (1.019, 0.01)})).endswith(
        "nothing moved by more than the noise.\n")
    assert f"{name}: 1 -> 1.03" in history.comparison(
        runs({name: (1.03, 0.01)}))


@pytest.mark.parametrize("instructions, worse", [
    (1019, False), (1021, True), (900, False)])
def test_more_instructions_are_a_regression(instructions, worse):
    old, new = runs({"call 1 MB: zantric, instructions":
                     (instructions, 0.002)})
    assert bool(history.regressions(old, new)) == worse


def test_more_memory_is_told_and_is_no_regression():
    old, new = runs({"listing: zantric, kB": (4000, 0.02)})
    assert not history.regressions(old, new)
    assert "+33.3 %" in history.comparison([old, new])


def test_runs_of_another_machine_are_not_compared():
    old, new = runs({})
    old["machine"] = "another"
    assert history.before([old, new]) is None
    assert "no earlier run" in history.comparison([old, new])
    assert history.comparison([]) == "Nothing was measured yet.\n"
