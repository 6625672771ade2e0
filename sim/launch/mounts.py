# SPDX-License-Identifier: Apache-2.0
"""The private root of the simulator: the machine's folders, and its own.

Everything it makes lives in a mount namespace of the calling process and on
memory file systems in it, so that nothing of it can be left behind. Whoever may
not make one as he is gets a user namespace around it, in which he is root.
"""

import ctypes
import os
import pathlib

from .failure import Failure

PRIVATE = ("/run", "/tmp", "/pstorage", "/sys/bus")
# Where the new root is put together; it is private itself, so nothing is lost.
_NEW = "/tmp"

_LIBC = ctypes.CDLL(None, use_errno=True)
# linux/sched.h, sys/mount.h
_CLONE_NEWNS = 0x00020000
_CLONE_NEWUSER = 0x10000000
_MS_BIND = 0x1000
_MS_REC = 0x4000
_MS_PRIVATE = 1 << 18
_MNT_DETACH = 2


def _call(function, *arguments):
    if function(*arguments) != 0:
        code = ctypes.get_errno()
        raise OSError(code, f"{function.__name__}{arguments}: "
                            f"{os.strerror(code)}")


def _mount(source, target, kind, flags=0, data=None):
    _call(_LIBC.mount, source.encode(), str(target).encode(),
          kind.encode() if kind else None, flags,
          data.encode() if data else None)


def _memory(target, mode):
    os.makedirs(target, exist_ok=True)
    _mount("tmpfs", target, "tmpfs", 0, f"mode={mode}")


def _become_root():
    """Makes a user namespace too, in which the user has the number 0."""
    user, group = os.geteuid(), os.getegid()
    _call(_LIBC.unshare, _CLONE_NEWNS | _CLONE_NEWUSER)
    # A group may be mapped only by who cannot leave a group any more.
    for name, text in (("setgroups", "deny"), ("uid_map", f"0 {user} 1"),
                       ("gid_map", f"0 {group} 1")):
        pathlib.Path("/proc/self", name).write_text(text)


def _unshare():
    try:
        _call(_LIBC.unshare, _CLONE_NEWNS)
    except PermissionError:
        _become_root()
    _mount("none", "/", None, _MS_REC | _MS_PRIVATE)


def _bind_root():
    """Shows in the new root what the machine has in its own."""
    for entry in os.scandir("/"):
        target = pathlib.Path(_NEW, entry.name)
        if entry.is_symlink():
            target.symlink_to(os.readlink(entry.path))
            continue
        if entry.path in PRIVATE:
            continue
        if entry.is_dir():
            target.mkdir()
        else:
            target.touch()
        _mount(entry.path, target, None, _MS_BIND | _MS_REC)


def _hidden(path):
    """Whether one of the private mounts will hide the path."""
    return any(path.is_relative_to(mount) and str(path) != mount
               for mount in PRIVATE)


def _open_kept(folders):
    """Holds on to those folders that will be hidden."""
    return {path: os.open(path, os.O_PATH | os.O_DIRECTORY)
            for path in sorted({pathlib.Path(item).resolve()
                                for item in folders})
            # Outer folders first, or an inner one would be covered again.
            if _hidden(path)}


def _build(kept):
    """Puts the new root together and moves into it."""
    _memory(_NEW, 755)
    _bind_root()
    for target in PRIVATE:
        _memory(_NEW + target, 1777 if target == "/tmp" else 755)
    # The BMC's image brings this one along.
    os.makedirs(_NEW + "/pstorage/persist/hdr")
    for path, descriptor in kept.items():
        target = pathlib.Path(_NEW + str(path))
        target.mkdir(parents=True, exist_ok=True)
        _mount(f"/proc/self/fd/{descriptor}", target, None, _MS_BIND | _MS_REC)
        os.close(descriptor)
    os.chdir(_NEW)
    # The old root lies below the new one then, and goes.
    _call(_LIBC.pivot_root, b".", b".")
    _call(_LIBC.umount2, b".", _MNT_DETACH)


def enter(keep=()):
    """Moves this process into a mount namespace with a root of its own.

    keep: folders that must stay visible although a private one would hide
    them, such as a source tree below /tmp. The working folder stays as well.
    """
    here = pathlib.Path.cwd()
    try:
        _unshare()
    except OSError as error:
        raise Failure(
            "This machine lets its users make no namespaces "
            f"({os.strerror(error.errno)}): run it as root, or let root allow "
            "them, as with sysctl user.max_user_namespaces=10000.") from error
    try:
        _build(_open_kept([here, *keep]))
    except OSError as error:
        raise Failure(f"No private folders here: {error.strerror}.") from error
    os.chdir(here)
