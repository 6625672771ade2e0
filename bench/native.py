# SPDX-License-Identifier: Apache-2.0
"""Measures the release build on this machine, in time as well."""

from bench import cases, history, measure, report
from bench.world import (BUILD, DEFAULT, RELEASE, ROOT, STATIC, logged, say,
                         shell, simulated)

NAME = "results"
goals, markdown, figures = report.goals, report.markdown, history.figures
PLAIN = ROOT / "build-release-plain"  # without attestation
SHARED = ROOT / "build-release-shared"  # as on a BMC
FLOOR = BUILD / "bench-floor"
ATTEST_FLOOR = BUILD / "bench-attest-floor"
LOAD = BUILD / "bench-load.so"
ZANTRIC = BUILD / "tool/zantric"
PLAIN_ZANTRIC = PLAIN / "tool/zantric"
TOOLS = {"zantric": str(ZANTRIC),
         report.BMC: str(SHARED / "tool/zantric")}
ROUNDS, RUNS = 20, 5
LIMIT = 64 << 20


def prepare():
    """Installs what is missing and builds what is measured."""
    shell('install_packages "${packages[@]}" hyperfine jq valgrind time')
    shell(f'cd "{ROOT}"; '
          f'build_in "{BUILD}" {STATIC}; '
          f'build_in "{PLAIN}" {STATIC} -Dattest=disabled -Dsim=disabled; '
          f'build_in "{SHARED}" {RELEASE} -Dstatic-runtime=disabled '
          '-Dsim=disabled; '
          f'cc -O2 -o "{FLOOR}" bench/floor.c '
          '$(pkg-config --cflags --libs libsystemd); '
          f'cc -O2 -o "{ATTEST_FLOOR}" bench/attest_floor.c '
          '$(pkg-config --cflags --libs libsystemd libcrypto); '
          f'cc -O2 -D_GNU_SOURCE -shared -fPIC -o "{LOAD}" bench/load.c')


def compare(commands, rounds=ROUNDS, runs=RUNS):
    """What each of the commands costs, and its ratio to the first."""
    base = next(iter(commands))
    rows = measure.paired_times(commands, rounds, runs)
    columns = {
        "time": measure.paired_ratios(rows, base),
        "noise": {name: measure.noise(rows, base, name)
                  for name in commands},
        "ms": {name: 1000 * min(row[name] for row in rows)
               for name in commands},
        "instructions": {name: measure.instructions(command)
                         for name, command in commands.items()},
        "kB": {name: measure.memory(command)
               for name, command in commands.items()},
    }
    return {name: {column: values[name] for column, values in columns.items()}
            for name in commands}


def whole_listing(folder):
    """The listing of the default scenario against the same calls in C."""
    with simulated(DEFAULT, folder) as log:
        calls = logged([ZANTRIC], log)
        return compare({"floor": [str(FLOOR), *cases.floor_words(calls)],
                        **{name: [tool] for name, tool in TOOLS.items()}})


def attestation(folder):
    """An attestation in the default scenario against the same calls and the
    crypto that they need in C, and what loading the module takes of it."""
    words = ["-o", "attest", "-a", hex(cases.ADDRESS)]
    with simulated(DEFAULT, folder) as log:
        calls = logged([ZANTRIC, *words], log)
        floor = [str(ATTEST_FLOOR), *cases.attest_floor_words(calls)]
        if cases.shapes(logged(floor, log)) != cases.shapes(calls):
            raise measure.Failure("the floor makes other calls than the tool")
        return (compare({"floor": floor, **{name: [tool, *words] for name, tool
                                            in TOOLS.items()}}),
                measure.loading([str(ZANTRIC), *words], str(LOAD), ROUNDS,
                                RUNS))


def one_call(size, folder, rounds):
    """One storage call by every competitor."""
    with simulated(cases.volumes(size), folder):
        return compare(cases.competitors(TOOLS, str(FLOOR)), rounds)


def growth(points, scenario_of, command, folder):
    """Cost of a command as its input grows."""
    result = {}
    for point in points:
        with simulated(scenario_of(point), folder):
            seconds = measure.times({"it": command}, 5, 1, "min")["it"]
            result[point] = {"ms": 1000 * seconds,
                             "instructions": measure.instructions(command)}
    return result


def all_growth(folder):
    """Every input that may grow, and how."""
    tool = str(ZANTRIC)
    listing = [tool, "-o", "list", "-t"]
    attest = [tool, "-o", "attest", "-a", hex(cases.ADDRESS)]
    counts = (10, 100, 1000, 10000)
    yield "drives listed", growth(
        counts, cases.drives, [*listing, "Drives", "-s", "rsa"], folder)
    yield "devices listed", growth(counts, cases.devices, [tool], folder)
    yield "bytes of a document shown", growth(
        (1000, 10000, 100000, 1000000, 5000000), cases.volumes,
        [tool, "-o", "show", "-t", "Volumes", "-s", "rsa", "-a", "1"], folder)
    yield "certificate slots attested", growth(
        (1, 2, 4, 8), lambda slots: cases.attestation(slots, 4), attest,
        folder)
    yield "measurement blocks attested", growth(
        (1, 10, 100), lambda blocks: cases.attestation(1, blocks), attest,
        folder)


def limits(folder):
    """What the largest listing takes, and how runs end in little memory."""
    listing = [str(ZANTRIC), "-o", "list", "-t", "Drives", "-s", "rsa"]
    show = [str(ZANTRIC), "-o", "show", "-t", "Volumes", "-s", "rsa", "-a", "1"]
    with simulated(cases.drives(10000), folder):
        found = {"kB": measure.memory(listing),
                 "drives": measure.limited_status(listing, LIMIT)}
    with simulated(cases.volumes(1000000), folder):
        return {**found, "show": measure.limited_status(show, LIMIT)}


def start_up(folder):
    """Instructions of a listing with attestation built in and without."""
    words = ["-o", "list", "-t", "Volumes", "-s", "rsa"]
    with simulated(cases.volumes(3000), folder):
        return {name: measure.instructions([str(program), *words])
                for name, program in (("with", ZANTRIC),
                                      ("without", PLAIN_ZANTRIC))}


def run(folder):
    """Every measurement."""
    results = {"machine": report.machine()}
    say("one call, 3 kB")
    results["call 3 kB"] = one_call(3000, folder, ROUNDS)
    say("one call, 1 MB")
    results["call 1 MB"] = one_call(1000000, folder, 4)
    say("whole listing")
    results["listing"] = whole_listing(folder)
    say("attestation")
    results["attestation"], results["load"] = attestation(folder)
    results["growth"] = {}
    for name, costs in all_growth(folder):
        say(name)
        results["growth"][name] = costs
    results["limits"] = limits(folder)
    results["start"] = start_up(folder)
    results["size"] = dict(zip(
        ("file", "loaded"), measure.stripped_size(PLAIN_ZANTRIC, folder)))
    return results
