# SPDX-License-Identifier: Apache-2.0
"""What a campaign has found, for people."""

import collections
import pathlib

import campaign

RESULTS = pathlib.Path(__file__).resolve().parent / "results"
_OPEN = (campaign.PASSED, campaign.SURVIVED)
_SHOWN = 100  # characters of a fault


def _short(text):
    flat = " ".join(text.split())
    return flat if len(flat) <= _SHOWN else flat[:_SHOWN - 2] + " …"


def place(fault):
    """Where a fault is, or was, planted."""
    get = fault.get if isinstance(fault, dict) else fault._asdict().get
    return f"{get('file')}:{get('line')}"


def change(fault):
    """What is planted in place of what."""
    get = fault.get if isinstance(fault, dict) else fault._asdict().get
    return f"{_short(get('before'))} -> {_short(get('after')) or '(nothing)'}"


def survivors_in(records, faults):
    """What earlier records tell, found again in other sources, by its number:
    the same change in the same file, nearest to the line where it was."""
    alike = collections.defaultdict(list)
    for fault in faults:
        alike[fault.file, fault.kind, fault.before, fault.after].append(fault)
    found = {}
    for record in records:
        same = alike[record["file"], record["kind"], record["before"],
                     record["after"]]
        if same:
            found[record["number"]] = min(
                same, key=lambda it: abs(it.line - record["line"]))
    return found


def reasons(name):
    """Why some faults, by number, do no harm: a line for each."""
    file = RESULTS / f"{name}.harmless"
    lines = file.read_text().splitlines() if file.exists() else []
    return {int(number): reason for number, _, reason in
            (line.partition(" ") for line in lines)}


def left(name, records):
    """The records of what survived and does harm."""
    known = reasons(name)
    return [record for record in records.values()
            if record["result"] in _OPEN and record["number"] not in known]


def _area(record):
    parts = record["file"].split("/")
    return "/".join(parts[:3] if parts[0] == "io" else
                    parts[:2] if parts[0] == "subprojects" else parts[:1])


def _table(head, rows):
    return ["| " + " | ".join(head) + " |", "|---" * len(head) + "|",
            *("| " + " | ".join(str(cell).replace("|", "\\|") for cell in row) +
              " |" for row in rows), ""]


def _row(name, records, known):
    """The counts of an area."""
    count = collections.Counter(
        "harmless" if record["result"] in _OPEN and record["number"] in known
        else record["result"] for record in records)
    alive = sum(count[result] for result in _OPEN)
    caught = count[campaign.CAUGHT]
    share = f"{100 * caught / (caught + alive):.1f} %" if caught else ""
    return (name, len(records) - count[campaign.REFUSED], caught,
            count[campaign.SAME] + count["harmless"], alive, share)


def markdown(name, records, seed, commit):
    """The summary of a campaign."""
    records = [record for _, record in sorted(records.items())]
    known = reasons(name)
    areas = collections.defaultdict(list)
    for record in records:
        areas[_area(record)].append(record)
    refused = sum(item["result"] == campaign.REFUSED for item in records)
    lines = [
        f"# {name}", "",
        f"Seed {seed}, commit {commit[:12]}; {refused} more did not compile.",
        "", *_table(
            ("area", "faults", "caught", "harmless", "survived", "score"),
            [*(_row(area, areas[area], known) for area in sorted(areas)),
             _row("all", records, known)])]
    return "\n".join(lines + _lists(records, known))


def _lists(records, known):
    """Survivors, what is harmless and why, and what caught the rest."""
    rows = [(item["number"], place(item), item["kind"], f"`{change(item)}`",
             item) for item in records]
    alive = [row[:4] for row in rows if row[4]["result"] in _OPEN and
             row[0] not in known]
    harmless = [(*row[:4], known[row[0]]) for row in rows if row[0] in known
                and row[4]["result"] in _OPEN]
    same = [(*row[:4], "the optimiser makes the same program of it")
            for row in rows if row[4]["result"] == campaign.SAME]
    caught = [(*row[:4], f"{row[4]['test']}: {row[4]['case']}", row[4]["in"],
               row[4]["seconds"])
              for row in rows if row[4]["result"] == campaign.CAUGHT]
    head = ("no.", "place", "kind", "fault")
    return ["## Survived", "", *_table(head, alive),
            "## Harmless", "", *_table((*head, "why"), harmless + same),
            "## Caught", "", "Seconds of the test, and of all that was done.",
            "", *_table((*head, "by", "in", "s"), caught)]
