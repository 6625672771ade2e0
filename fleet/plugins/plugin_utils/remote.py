# SPDX-License-Identifier: Apache-2.0
"""What is sent to a BMC: POSIX shell, short enough for a small SSH server.

Every script ends with status 0, so that a status of 255 is the transport's
alone, and tells the rest in frames: lines that begin with a random token that
nothing the tool prints can know. Nothing in it needs more than a BusyBox.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re
import shlex
import uuid

# $t token, $z tool, $l seconds until the tool is ended.
#
# p      a frame
# elf    word size and machine of an ELF file, nothing for another file
# tool   finds the tool; refuses one of another machine, which a shell would
#        take for a script and run line by line
# alarm  ends process $1 after $l seconds; its status is 3 if it had to. Its
#        sleep is killed outright: another signal is lost before it has begun
#
# What stays behind in the background is in parentheses: a function that is
# redirected keeps the old output open, and with it the SSH session.
COMMON = r'''
p() { printf "\n%s %s\n" "$t" "$*"; }
elf() {
set -- $(od -An -v -tx1 -N20 "$1" 2>/dev/null)
[ "$1$2$3$4" != 7f454c46 ] || echo "$5:${19}${20}"
}
tool() {
e=$(command -v -- "$z") || { p missing; exit 0; }
x=$(elf "$e"); y=$(elf /proc/$$/exe)
case "$x/$y" in
/*|*/|"$y/$x"|01:0300/02:3e00|01:2800/02:b700) ;;
*) p foreign "$x" "$y"; exit 0 ;;
esac
}
alarm() {
trap "kill -9 \$! 2>/dev/null; exit 0" TERM
sleep "$l" & wait $!
trap "kill -9 \$! 2>/dev/null; exit 3" TERM
kill "$1"
sleep 2 & wait $!
kill -9 "$1"
exit 3
}
'''

# Reading operations: each runs once, its output framed as it comes.
_READ = r'''
run() {
p run; p run >&2
"$@" </dev/null & c=$!
(alarm $c) >/dev/null 2>&1 & w=$!
{ wait $c; } 2>/dev/null; s=$?
{ kill $w; wait $w; } 2>/dev/null
p end $c $s $?; p end >&2
}
'''

# Whether the marker file is there that makes the tool accept every chain.
_SEES = r'''
sees() { [ -e /tmp/ignore_cert_check ] && p marker yes || p marker no; }
'''

# Root certificates from standard input, in a folder that ends with the session.
_ROOTS = r'''
g=$g.$$
trap "" PIPE HUP
trap "rm -rf \"$g\"" EXIT
(umask 077; mkdir "$g") && tar -xf - -C "$g" || { p full "$g"; exit 0; }
'''

# The records that process $c wrote behind cursor $k: a process that had the
# number before has its records in front of it. Not --after-cursor: with a match
# journalctl 252 drops the first record then.
_JOURNAL = r'''
mark() {
k=$(journalctl -n0 --show-cursor 2>/dev/null | sed -n "s/^-- cursor: //p")
}
log() {
p log "$k"; journalctl --sync 2>/dev/null
journalctl -o json --all --no-pager ${k:+"--cursor=$k"} "_PID=$c"
p logged $?
}
'''

# A change in four steps, each a session of its own. The folder $d belongs to
# this change alone. Who removes "armed" in it may start the tool, and nobody
# ever makes it again: a repeated start finds the one before it and reports
# what that did.
_CHANGE = r'''
later() {
trap "" HUP
trap "kill -9 \$! 2>/dev/null; exit 0" TERM
sleep "$1" & wait $!
rm -rf "$d"
}
janitor() { (later "$1") </dev/null >/dev/null 2>&1 & echo $! >"$d/janitor"; }
dismiss() { kill "$(cat "$d/janitor")" 2>/dev/null; }
'''

# The room is kept until the end of the run, for its status.
_ARM = r'''
room() { dd if=/dev/zero of="$d/room" bs=1024 count="$1" 2>/dev/null; }
tool
umask 077
if mkdir "$d" 2>/dev/null; then
room "$r" || { rm -rf "$d"; p full "$d"; exit 0; }
room 64; janitor 7200; mark; echo "$k" >"$d/cursor"; mkdir "$d/armed"
fi
if [ -d "$d/armed" ]; then p armed; else p refused "$d"; fi
'''

_UPLOAD = r'''
cat >"$d/$f" || { p full "$d"; exit 0; }
p sum $(sha256sum <"$d/$f")
'''

_START = r'''
work() {
trap "" HUP
"$@" </dev/null >"$d/out" 2>"$d/err" & c=$!
echo $c >"$d/pid"
alarm $c & w=$!
wait $c; s=$?
kill $w; wait $w
f=$?
rm -f "$d/room"
echo "$c $s $f" >"$d/new" && mv "$d/new" "$d/status"
janitor 600
}
start() {
rmdir "$d/armed" 2>/dev/null || return
dismiss
(work "$@") </dev/null >/dev/null 2>&1 &
}
'''

# Waits up to $q tenths of a second for the end; output from byte $o on.
_FOLLOW = r'''
[ -d "$d" ] || { p gone; exit 0; }
while [ ! -e "$d/status" ] && [ "$q" -gt 0 ]; do
if sleep 0.1 2>/dev/null; then q=$((q-1)); else sleep 1; q=$((q-10)); fi
done
if [ -e "$d/status" ]; then n=end; else n=running; fi
p run
tail -c "+$o" "$d/out" 2>/dev/null
p err
cat "$d/err" 2>/dev/null
p $n $(cat "$d/status" 2>/dev/null || cat "$d/pid" 2>/dev/null)
'''

# Takes the right to start from a start that may still be under way.
_SETTLE = r'''
if rmdir "$d/armed" 2>/dev/null; then dismiss; rm -rf "$d"; p never; exit 0; fi
'''

_FORGET = r'''
dismiss; rm -rf "$d"; p gone
'''


def quoted(words):
    """The words as one shell command; each is one argument there."""
    for word in words:
        if "\0" in word:
            raise ValueError("an argument contains a NUL character")
    return " ".join(shlex.quote(word) for word in words)


def script(token, settings, *parts):
    head = ["t=" + token]
    head += ["%s=%s" % (name, shlex.quote(str(value)))
             for name, value in sorted(settings.items())]
    return "\n".join(head) + "".join(parts)


class Session:
    """Scripts for one run, and the reader of what they send back."""

    def __init__(self, tool="zantric", limit=60):
        self.token = "zantric-" + uuid.uuid4().hex
        self.settings = {"z": tool, "l": int(limit)}
        self.tool = tool

    def read(self, runs, journal=False):
        """Runs command lines (lists of words after the tool's name) one after
        the other, with the journal's records of each if wanted."""
        lines = []
        for words in runs:
            line = 'run "$e" ' + quoted(words)
            lines.append("mark\n%s\nlog" % line if journal else line)
        return script(self.token, self.settings, COMMON, _READ,
                      _JOURNAL if journal else "", "tool\n",
                      "\n".join(lines) + "\n")

    def attest(self, addresses, roots, folder=None):
        """Attests devices; behind each its journal, around each a look for
        the marker file. folder: where to unpack roots from standard input."""
        loop = 'for a in %s; do\nsees; mark\nrun "$e" -o attest -a $a%s\n' \
               'log; sees\ndone\n'
        return script(self.token,
                      dict(self.settings, g=folder or roots or ""),
                      COMMON, _READ, _JOURNAL, _SEES, "tool\n",
                      _ROOTS if folder else "",
                      loop % (" ".join(addresses),
                              ' -f "$g"' if roots else ""))


class Change(Session):
    """A run that must happen at most once."""

    def __init__(self, tool="zantric", limit=600, folder="/run"):
        super(Change, self).__init__(tool, limit)
        self.folder = "%s/%s" % (folder.rstrip("/"), self.token)
        self.settings["d"] = self.folder

    def arm(self, kilobytes=0):
        """Makes the run's folder, with room for so much and its output."""
        return script(self.token, dict(self.settings, r=kilobytes + 256),
                      COMMON, _JOURNAL, _CHANGE, _ARM)

    def upload(self, name):
        """Takes a file from standard input; tells its checksum."""
        return script(self.token, dict(self.settings, f=name), COMMON,
                      _UPLOAD)

    def start(self, words, wait):
        """Starts the tool if nobody did, then waits so many seconds."""
        return script(self.token, self._following(wait, 0), COMMON, _CHANGE,
                      _START, "tool\n", 'start "$e" %s\n' % quoted(words),
                      _FOLLOW)

    def follow(self, wait, offset=0):
        """Waits on; output from that byte on."""
        return script(self.token, self._following(wait, offset), COMMON,
                      _FOLLOW)

    def settle(self, wait):
        """After a lost start: what came of it; it never starts after this."""
        return script(self.token, self._following(wait, 0), COMMON, _CHANGE,
                      _SETTLE, _FOLLOW)

    def log(self, pid):
        """The journal's records of the run."""
        return script(self.token, dict(self.settings, c=pid), COMMON,
                      _JOURNAL, 'k=$(cat "$d/cursor")\nlog\n')

    def forget(self):
        """Removes everything."""
        return script(self.token, self.settings, COMMON, _CHANGE, _FORGET)

    def _following(self, wait, offset):
        return dict(self.settings, q=int(wait * 10), o=offset + 1)


class Frame:
    """A frame's words, and the text up to the next one."""

    def __init__(self, words, text):
        self.kind = words[0] if words else ""
        self.words = words[1:]
        self.text = text


def frames(token, text):
    """The frames in what a session sent; text in front of them is dropped."""
    pieces = re.split("\n%s ([^\n]*)\n" % re.escape(token), "\n" + text)
    return [Frame(pieces[at].split(), pieces[at + 1])
            for at in range(1, len(pieces), 2)]
