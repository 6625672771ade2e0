# SPDX-License-Identifier: Apache-2.0
"""scripts/lint/rules: a second home of a rule is refused, whichever it is."""

import re

import pytest

from conftest import ROOT, load

PLANTED = {
    "call": ["conn->new_method_call(a, b, c, d);",
             "sd_bus_call(bus, call, 0, nullptr, &reply);",
             "conn->async_method_call(handler, a, b, c, d);",
             "bus->call(method);"],
    "append": ['sd_bus_message_append(call, "s", text);'],
    "name": ['const char* service = "com.mervax.rsa";',
             'call(bus, {"xyz.openbmc_project.State", path, interface});',
             'text::cat({"com.mervax.", word});',
             'getSubTree(bus, "/com/mervax", 1, interface);',
             'getSubTree(bus, "/xyz/openbmc_project/inventory", 1, name);'],
    "property": ['call(bus, {a, b, "org.freedesktop.DBus.Properties"});'],
    "mapper": ['io::bus::ask<Names>(bus, io::target::mapper, "Find");',
               'call(bus, where, "GetSubTree", path);',
               'call(bus, where, "GetObject", path);'],
    "signal": ['match_t match(*bus, "type=\'signal\',member=\'Done\'", done);'],
    "wait": ["io::bus::ioContext().run();", "ioContext() .run_one();",
             "context.run_one();", "context.run_for(1s);",
             "while (bus->process_discard()) {}",
             "io::bus::waitUntilExit(bus);"],
    "parser": ["auto document = json::parse(text);",
               "nlohmann::json::sax_parse(text, &reader);",
               "if (json::accept(text)) {}"],
    "executable": ['readlink("/proc/self/exe", link, size);'],
    "write": ["open(path, O_WRONLY | O_CREAT, 0644);", "open(path, O_RDWR);",
              'std::fopen(path, "w");', 'fopen(path.c_str(),\n    "ab");',
              'fopen(path, "r+");', "mkstemp(name);",
              "std::ofstream file(path);", "rename(fresh, path);"],
    "output": ['std::printf("%s", text);', "puts(text);",
               "std::fwrite(text, 1, size, stdout);",
               "std::cout << text;", "std::fflush(stdout);",
               "write(STDOUT_FILENO, text, size);", "isatty(1);"],
    "exit": ["std::exit(255);", "_exit(0);", "exit(status);"],
    "catch": ["catch (const std::exception& failure)", "catch (...)",
              "catch(std::exception& e)"],
    "decimals": ['std::snprintf(text, size, "%.2f", number);'],
}
# These hold in one of the two folders.
PLANTED_IN = {
    "member": ("tool", ['item.value("Name", "");',
                        'if (item.contains("Name"))']),
    "options": ("tool", ['getopt(argc, argv, "h");', "use(optarg);"]),
    "floor": ("io", ['#include "tool/output.hpp"', 'tool::out::line("text");',
                     "bool run(const Options& options);"]),
}
CASES = ([(name, folder, text) for name, texts in PLANTED.items()
          for folder in ("tool", "io") for text in texts] +
         [(name, folder, text) for name, (folder, texts) in PLANTED_IN.items()
          for text in texts])
RULES = load("rules")


def test_the_tree_keeps_them(tree):
    tree.copy("tool", "io")
    assert tree.lint("rules") == (0, [])


def test_each_rule_is_planted_against():
    assert {name for name, *_ in CASES} == {rule.name for rule in RULES.RULES}


@pytest.mark.parametrize("name, folder, text", CASES)
def test_a_second_home_is_told(tree, name, folder, text):
    tree.plant(f"{folder}/event/planted.cpp", f"// Planted.\n\n{text}\n")
    found = list(RULES.findings(tree.path))
    assert found
    for line in found:
        assert re.match(rf"{folder}/event/planted\.cpp:3: .*: .*\[\w+\]$", line)
    assert any(line.endswith(f"[{name}]") for line in found)


@pytest.mark.parametrize("text", [
    '// open(path, O_WRONLY), and "/proc/self/exe"\n',
    '/** catch (...), printf("%.2f")\n *  ioContext().run() */\n',
    '"a text with // and" /* stdout */;\n',
])
def test_a_comment_is_no_home(tree, text):
    tree.plant("io/planted.hpp", text)
    assert not list(RULES.findings(tree.path))


def test_a_text_with_slashes_hides_nothing_behind_it(tree):
    tree.plant("tool/planted.cpp", 'f("//", \'"\', stdout); // "\n')
    assert list(RULES.findings(tree.path)) == [
        "tool/planted.cpp:1: stdout: print with tool::out [output]"]


def test_a_finding_is_a_failure(tree):
    tree.copy("tool", "io")
    tree.plant("tool/event/planted.cpp", "std::exit(1);\n")
    assert tree.lint("rules") == (
        1, ["tool/event/planted.cpp:1: std::exit(: end with "
            "tool::out::exitProcess() [exit]"])


def test_a_home_that_is_none_any_more_is_told(tree):
    tree.copy("tool", "io")
    tree.plant("io/common/src/ObjectMapper.cpp", "// Moved.\n")
    (tree.path / "tool/guard.cpp").unlink()
    assert tree.lint("rules") == (
        1, ["io/common/src/ObjectMapper.cpp: is no home of this any more "
            "[mapper]",
            "tool/guard.cpp: is no home of this any more [catch]"])


def rows():
    """The table of the rules: the lints that the last column names."""
    text = (ROOT / "docs/architecture.md").read_text()
    part = text.split("## One place for each rule", 1)[1].split("\n## ", 1)[0]
    return [line.split("|")[1:-1] for line in part.splitlines()
            if line.startswith("|")][2:]


def test_the_table_and_the_rules_are_the_same():
    named = [name for row in rows() for name in re.findall(r"`(\w+)`", row[2])]
    assert sorted(named) == sorted(rule.name for rule in RULES.RULES)


@pytest.mark.parametrize("row", rows(), ids=lambda row: row[0].strip())
def test_each_place_of_the_table_is_there(row):
    files = re.findall(r"\]\(\.\./([^)]+)\)", row[1])
    assert files
    for name in files:
        assert (ROOT / name).exists(), name
