# SPDX-License-Identifier: Apache-2.0
"""The fleet as one table: for a terminal, and as a page that needs nothing
else."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import html

from . import gather, verdict

_STYLE = """
:root { color-scheme: light dark; --line: #8884; --good: #1a7f37;
 --warn: #9a6700; --bad: #cf222e; --dim: #656d76; }
body { font: 15px/1.45 system-ui, sans-serif; margin: 2rem auto;
 max-width: 78rem; padding: 0 1rem; }
h1 { font-size: 1.5rem; margin: 0 0 .2rem; }
p { color: var(--dim); margin: 0 0 1.4rem; }
table { border-collapse: collapse; width: 100%; }
th { text-align: left; font-weight: 600; color: var(--dim);
 font-size: .8rem; }
th, td { padding: .45rem .7rem; border-bottom: 1px solid var(--line);
 vertical-align: top; }
summary, td.s { white-space: nowrap; }
td.n { text-align: right; font-variant-numeric: tabular-nums; }
.b { display: inline-block; border-radius: 1rem; padding: 0 .6rem;
 margin: 0 .25rem .25rem 0; border: 1px solid; white-space: nowrap;
 font-size: .85rem; }
.good { color: var(--good); } .warn { color: var(--warn); }
.bad { color: var(--bad); } .dim { color: var(--dim); }
details table { margin: .5rem 0 0; font-size: .85rem; }
summary { cursor: pointer; }
"""
_TONES = {verdict.ANCHORED: "good", verdict.UNANCHORED: "warn",
          verdict.OVERRIDDEN: "bad", verdict.NOTHING: "warn",
          verdict.FAILED: "bad", verdict.MATCH: "good",
          verdict.DIFFERS: "bad"}
_KINDS = (("failed_drives", "drive"), ("degraded_volumes", "volume"),
          ("links_down", "link"))


def _escaped(value):
    return html.escape("" if value is None else str(value), quote=True)


def _badge(text, tone):
    return '<span class="b %s">%s</span>' % (tone, _escaped(text))


def troubles(host):
    """What is wrong with a BMC, in words with their count."""
    found = []
    for kind, word in _KINDS:
        count = len((host.get("health") or {}).get(kind, []))
        if count:
            found.append("%d %s%s" % (
                count, word, {"drive": "s failed"[count == 1:],
                              "volume": "s degraded"[count == 1:],
                              "link": "s down"[count == 1:]}[word]))
    return found


def verdicts(host):
    """How many devices have which verdict, the worst first."""
    devices = host.get("devices") or []
    return [(sum(device["verdict"] == word for device in devices), word)
            for word in reversed(verdict.VERDICTS)
            if any(device["verdict"] == word for device in devices)]


def _state(host):
    if host.get("problem"):
        return host["problem"]
    state = (host.get("inventory") or {}).get("state") or {}
    return "%s, %s" % (state.get("power", "?"),
                       state.get("boot_progress", "?"))


def _counts(host):
    inventory = host.get("inventory") or {}
    return [len(inventory.get(kind, []))
            for kind in ("devices", "drives", "volumes")]


def _aligned(rows):
    widths = [max(len(row[at]) for row in rows) for at in range(len(rows[0]))]
    return ["  ".join(cell.ljust(width) for cell, width in
                      zip(row, widths)).rstrip() for row in rows]


def verdict_lines(hosts):
    """Lines of a table for a terminal, an attested device each."""
    rows = [["BMC", "device", "P/N", "firmware", "verdict", "measurements",
             "because"]]
    for name in sorted(hosts):
        for device in hosts[name].get("devices") or []:
            result = device["measurements"]["result"]
            if result != verdict.NOT_MEASURED and not device["signed"]:
                result += ", unsigned"
            rows.append([name, device["address"],
                         device.get("part_number") or "-",
                         device.get("firmware_version") or "-",
                         device["verdict"], result, device["reason"]])
        if hosts[name].get("problem"):
            rows.append([name, "-", "-", "-", hosts[name]["problem"], "-", "-"])
    return _aligned(rows)


def table(hosts):
    """Lines of a table for a terminal, a BMC each."""
    head = ["BMC", "state", "devices", "drives", "volumes", "health",
            "attestation"]
    rows = [head]
    for name in sorted(hosts):
        host = hosts[name]
        rows.append([name, _state(host)[:40]] + [str(n) for n in _counts(host)]
                    + [", ".join(troubles(host)) or
                       ("-" if host.get("problem") else "good"),
                       ", ".join("%d %s" % item for item in verdicts(host))
                       or "-"])
    return _aligned(rows)


def _attested(host):
    return {device["address"]: device for device in host.get("devices") or []}


def _device_rows(host):
    attested = _attested(host)
    lines = []
    for row in (host.get("inventory") or {}).get("devices", []):
        names = gather.identity(row["document"])
        found = attested.get(row["address"])
        shown = ""
        if found:
            shown = _badge(found["verdict"], _TONES[found["verdict"]])
            shown += _measured(found)
        lines.append("<tr>%s<td>%s</td></tr>" % ("".join(
            "<td>%s</td>" % _escaped(value) for value in (
                row["service"], row["address"], names["name"],
                names["part_number"], names["serial_number"],
                names["firmware_version"])), shown))
    return "".join(lines)


def _measured(device):
    result = (device.get("measurements") or {}).get("result")
    if not result or result == verdict.NOT_MEASURED:
        return ""
    unsigned = "" if device.get("signed") else ", unsigned"
    return _badge("measurements: %s%s" % (result, unsigned),
                  _TONES.get(result, "dim"))


def _problem_rows(host):
    health = host.get("health") or {}
    lines = ["%s %s: %s" % (word, item.get("port") or item.get("name") or "",
                            " ".join(str(item[key]) for key in (
                                "serial_number", "state", "health")
                                if item.get(key)))
             for kind, word in _KINDS for item in health.get(kind, [])]
    lines += (host.get("inventory") or {}).get("errors", [])
    return "".join("<li>%s</li>" % _escaped(line) for line in lines)


def _row(name, host):
    if host.get("problem"):
        return ('<tr><td>%s</td><td colspan="4">%s</td><td></td><td></td>'
                "</tr>" % (_escaped(name), _badge(host["problem"], "bad")))
    bad = troubles(host)
    health = "".join(_badge(text, "bad") for text in bad) or _badge(
        "good", "good")
    proofs = "".join(_badge("%d %s" % item, _TONES[item[1]])
                     for item in verdicts(host)) or _badge("none", "dim")
    numbers = "".join('<td class="n">%d</td>' % n for n in _counts(host))
    return ("<tr><td><details><summary>%s</summary><ul>%s</ul><table>"
            "<tr><th>service<th>address<th>name<th>P/N<th>S/N<th>firmware"
            "<th>attestation</tr>%s</table></details></td><td class=\"s\">%s</td>%s"
            "<td>%s</td><td>%s</td></tr>" % (
                _escaped(name), _problem_rows(host), _device_rows(host),
                _escaped(_state(host)), numbers, health, proofs))


def page(hosts, title, made):
    """The page; hosts: name to inventory, health, devices, problem."""
    rows = "".join(_row(name, hosts[name]) for name in sorted(hosts))
    ill = sum(bool(troubles(host)) for host in hosts.values())
    gone = sum(bool(host.get("problem")) for host in hosts.values())
    return ("<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\">"
            "<meta name=\"viewport\" content=\"width=device-width\">"
            "<title>%s</title><style>%s</style></head><body><h1>%s</h1>"
            "<p>%d BMCs, %d with something broken, %d without an answer; %s"
            "</p><table><tr><th>BMC<th>state<th>devices<th>drives<th>volumes"
            "<th>health<th>attestation</tr>%s</table></body></html>\n"
            % (_escaped(title), _STYLE, _escaped(title), len(hosts), ill, gone,
               _escaped(made), rows))
