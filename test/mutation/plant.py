# SPDX-License-Identifier: Apache-2.0
"""Where a source can be given a fault, and which: an operator, a condition, a
constant, a result, a statement or a branch that is another or is none.

Works on tokens and leans on the layout that .clang-format holds the tree to: an
operator between two values has a space on both sides, a template's brackets and
a reference's sign have not, and every branch has its braces. What is planted
may not compile.
"""

import re
from typing import NamedTuple

_TOKEN = re.compile(
    r"""(?P<gap>\s+|//[^\n]*|/\*.*?\*/|(?<![^\n])[ \t]*\#(?:[^\n]*\\\n)*[^\n]*)
    |(?P<text>R"(?P<end>\w*)\(.*?\)(?P=end)"|"(?:\\.|[^"\\])*"
        |'(?:\\.|[^'\\])*')
    |(?P<number>0[xX][0-9a-fA-F']+\w*|\d[\d'.]*\w*)
    |(?P<name>[A-Za-z_]\w*)
    |(?P<sign><<=|>>=|<=>|\.\.\.|->|\+\+|--|&&|\|\||::|<<|>>
        |[-+*/%&|^=!<>]=|.)""", re.S | re.X)
_OPERATORS = {
    "==": ("!=",), "!=": ("==",),
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
    "&&": ("||",), "||": ("&&",),
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("/",),
    "<<": (">>",), ">>": ("<<",), "&": ("|",), "|": ("&",), "^": ("&",),
    "+=": ("-=",), "-=": ("+=",), "|=": ("&=",), "&=": ("|=",),
}
_STEPS = {"++": "--", "--": "++"}
_OPENING = {"(": ")", "[": "]", "{": "}"}
_CONTROL = {"if", "while", "for", "switch", "catch"}
_NO_STATEMENT = _CONTROL | {
    "break", "case", "const", "constexpr", "continue", "default", "do",
    "else", "return", "static", "static_assert", "struct", "throw", "try",
    "using"}


class Fault(NamedTuple):
    """What stands between two places of a file, and what is to stand there."""
    file: str
    line: int
    kind: str
    start: int
    end: int
    before: str
    after: str

    def plant(self, text):
        """The text of the file with the fault."""
        assert text[self.start:self.end] == self.before
        return text[:self.start] + self.after + text[self.end:]


class _Token(NamedTuple):
    kind: str
    text: str
    start: int

    @property
    def end(self):
        return self.start + len(self.text)


class _Source:
    """The tokens of a source and what belongs together in it."""

    def __init__(self, file, text):
        self.file, self.text = file, text
        self.tokens = [
            _Token(match.lastgroup if match.lastgroup != "end" else "text",
                   match.group(), match.start())
            for match in _TOKEN.finditer(text) if match.lastgroup != "gap"]
        self.partner = self._partners()
        self.result = self._results()

    def _partners(self):
        """Each bracket to the one that closes or opens it."""
        partner, open_ones = {}, []
        for at, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in _OPENING:
                open_ones.append(at)
            elif (token.kind == "sign" and open_ones and token.text ==
                    _OPENING[self.tokens[open_ones[-1]].text]):
                partner[at] = open_ones.pop()
                partner[partner[at]] = at
        return partner

    def is_at(self, at, *texts):
        """Whether one of these stands there."""
        return 0 <= at < len(self.tokens) and self.tokens[at].text in texts

    def _head(self, at):
        """What comes in front of a body's parameters; None for no body."""
        last = at - 1
        while self.is_at(last, "const", "noexcept", "override"):
            last -= 1
        if self.is_at(last, "]"):
            return self.partner.get(last)
        if not self.is_at(last, ")") or last not in self.partner:
            return None
        return self.partner[last] - 1

    def _result_of(self, at):
        """The type that the body returns which opens here; "" for one that
        cannot be told, None when it is no body of a function."""
        head = self._head(at)
        if head is None or head < 0 or self.tokens[head].text in _CONTROL:
            return None
        if self.tokens[head].text in "[]":
            return ""
        if self.tokens[head].kind != "name":
            return None
        while self.is_at(head - 1, "::"):
            head -= 2
        return self.tokens[head - 1].text if head > 0 else ""

    def _results(self):
        """For each token in a function's body what that returns."""
        result, around = [], [None]
        for at, token in enumerate(self.tokens):
            if token.text == "{" and token.kind == "sign":
                own = self._result_of(at)
                around.append(around[-1] if own is None else own)
            result.append(around[-1])
            if token.text == "}" and token.kind == "sign" and len(around) > 1:
                around.pop()
        return result

    def opens_body(self, at):
        """Whether a function's body opens here."""
        return self.is_at(at, "{") and self._result_of(at) is not None

    def between(self, first, last):
        """The text from one token up to another, without it."""
        return self.text[self.tokens[first].start:self.tokens[last].start]

    def is_spaced(self, at):
        """Whether the token has space on both sides."""
        token = self.tokens[at]
        return (self.text[token.start - 1].isspace() and
                self.text[token.end:token.end + 1].isspace())

    def flat(self, first, last):
        """The places from one token up to another, less what is in brackets.
        """
        at = first
        while at < last:
            yield at
            at = self.partner.get(at, at) if self.is_at(at, *_OPENING) else at
            at += 1

    def declares(self, first, last):
        """Whether it begins with a declaration: two names, side by side."""
        return any(
            self.tokens[at].kind == self.tokens[at + 1].kind == "name" or
            (self.is_at(at, "*", "&", "&&", ">") and not self.is_spaced(at) and
             self.tokens[at + 1].kind == "name" and at > first)
            for at in self.flat(first, last - 1))

    def fault(self, kind, first, last, after):
        """From one token to another, both in it."""
        start, end = self.tokens[first].start, self.tokens[last].end
        return Fault(self.file, self.text.count("\n", 0, start) + 1, kind,
                     start, end, self.text[start:end], after)


def _asserted(source):
    """The places within static_assert()."""
    places = set()
    for at, token in enumerate(source.tokens):
        if token.text == "static_assert" and at + 1 in source.partner:
            places.update(range(at, source.partner[at + 1]))
    return places


def _operators(source):
    for at, token in enumerate(source.tokens):
        if token.kind != "sign":
            continue
        if token.text in _OPERATORS and source.is_spaced(at):
            for other in _OPERATORS[token.text]:
                yield source.fault("operator", at, at, other)
        elif token.text in _STEPS:
            yield source.fault("operator", at, at, _STEPS[token.text])
        elif token.text == "!":
            yield source.fault("operator", at, at, "")


def _notation(digits):
    """How a number is written, and its base."""
    if digits[:2].lower() == "0x":
        return "{:#x}", 16
    return ("0{:o}", 8) if digits[0] == "0" != digits else ("{}", 10)


def _constants(source):
    for at, token in enumerate(source.tokens):
        if token.text in ("true", "false"):
            yield source.fault("constant", at, at,
                               "false" if token.text == "true" else "true")
        digits = re.fullmatch(r"(0[xX][0-9a-fA-F']+|\d[\d']*)(\w*)", token.text)
        if token.kind != "number" or not digits:
            continue
        shown, base = _notation(digits[1])
        number = int(digits[1].replace("'", ""), base)
        for other in (number + 1, number - 1):
            if other >= 0:
                yield source.fault("constant", at, at,
                                   shown.format(other) + digits[2])


def _conditions(source):
    for at, token in enumerate(source.tokens):
        if token.text not in ("if", "while") or at + 1 not in source.partner:
            continue
        first, last = at + 2, source.partner[at + 1]
        for place in source.flat(first, last):
            first = place + 1 if source.is_at(place, ";") else first
        if source.declares(first, last):
            continue
        condition = source.between(first, last)
        others = ["false", f"!({condition})"]
        if token.text == "if":
            others += ["true", f"({condition}) && false"]
        for other in others:
            yield source.fault("condition", first, last - 1, other)


def _returns(source):
    for at, token in enumerate(source.tokens):
        if source.opens_body(at) and not source.is_at(at + 1, "}"):
            for early in _early(source.result[at]):
                yield source.fault("early return", at, at, "{ " + early)
        if token.text != "return" or source.is_at(at + 1, ";"):
            continue
        last = next((place for place in source.flat(at + 1, len(source.tokens))
                     if source.is_at(place, ";")), None)
        value = source.between(at + 1, last) if last else "{}"
        if value in ("{}", "true", "false"):
            continue
        yield source.fault(
            "result", at + 1, last - 1,
            f"!({value})" if source.result[at] == "bool" else "{}")


def _early(result):
    """Statements that leave a function that returns this."""
    if result == "void":
        return ("return;",)
    if result == "bool":
        return ("return true;", "return false;")
    return ("return {};",) if result else ()


def _statements(source):
    """Calls and assignments that are left out."""
    for at, token in enumerate(source.tokens):
        if (source.result[at] is None or token.kind != "name" or
                token.text in _NO_STATEMENT or
                not source.is_at(at - 1, ";", "{", "}")):
            continue
        last = next((place for place in source.flat(at, len(source.tokens))
                     if source.is_at(place, ";", "}", ",")), None)
        if last is None or not source.is_at(last, ";"):
            continue
        sets = any(source.tokens[place].text in ("=", "+=", "-=", "|=", "&=")
                   for place in source.flat(at, last))
        if source.declares(at, last) or not (
                sets or source.is_at(last - 1, ")")):
            continue
        yield source.fault("assignment left out" if sets else "call left out",
                           at, last - 1, "")


def _branches(source):
    """Blocks behind a condition, `else` or `catch` with nothing in them."""
    for at in range(len(source.tokens)):
        if not source.is_at(at, "{") or at not in source.partner:
            continue
        head = source.partner.get(at - 1, 1) - 1
        if source.is_at(at - 1, "else") or (
                source.is_at(at - 1, ")") and
                source.is_at(head, "if", "catch")):
            if source.partner[at] > at + 1:
                yield source.fault("branch emptied", at + 1,
                                   source.partner[at] - 1, "")


def faults(file, text):
    """Every fault that can be planted in a source, in a fixed order."""
    source = _Source(file, text)
    kept = {source.tokens[at].start for at in _asserted(source)}
    return [fault for find in (_operators, _constants, _conditions, _returns,
                               _statements, _branches)
            for fault in find(source) if fault.start not in kept]
