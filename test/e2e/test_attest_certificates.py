# SPDX-License-Identifier: Apache-2.0
"""Root certificates, the verdict on a chain, and the marker files."""

import os
import pathlib
import shutil
import stat

import pytest

import attest_support as a
from attest_support import ERROR, INFO

READ_FAILED = (
    ERROR, "[ERR] libspdm_read_responder_root_public_certificate failed")
EXTRACT_FAILED = (ERROR, "[ERR] libspdm_x509_get_cert_from_cert_chain failed")
CERT_FAILED = (ERROR, "  [ERR] Failed to get cert of slot 0. rc = "
               + a.VERIFICATION_FAILED)
SAVED = (INFO, "Cert-chain saved to /tmp/certchain.bin")
IGNORED = (INFO, "Ignore cert-chain check")
FILE = "ecp384/ca.cert.der"


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    a.tidy()
    yield
    a.tidy()


def roots_in(folder):
    """A copy of the devices' roots in a folder."""
    shutil.copytree(a.ROOTS, folder, dirs_exist_ok=True)
    return str(folder)


def folder_of(tmp_path, length):
    """A new folder whose path has so many characters."""
    path = str(tmp_path)
    while len(path) + 1 + 200 < length:
        path += "/" + "d" * 100
    path += "/" + "d" * (length - len(path) - 1)
    os.makedirs(path)
    assert len(path) == length
    return path


def integrity(size):
    return (ERROR, f"[ERR] Cert-chain (SZ={size}) intergrity check failed.")


def authority(size):
    return (ERROR, f"[ERR] Cert-chain (SZ={size}) authority check failed.")


def saved_size():
    """The size of the chain that was saved."""
    return a.CHAIN.stat().st_size


@pytest.mark.parametrize("content", [
    None, b"", b"\x30\x82\xff\xff", b"text", b"x" * (1 << 20)],
    ids=["missing", "empty", "cut", "text", "megabyte"])
def test_a_root_certificate_that_is_none(bmc, tmp_path, content):
    """Missing, empty, cut, no DER, a megabyte: the status says so."""
    file = tmp_path / FILE
    file.parent.mkdir()
    if content is not None:
        file.write_bytes(content)
    bmc.start(a.attested(a.device()))
    result = a.attest(bmc, str(tmp_path))
    missing = content is None
    assert result == (a.output(
        f"Unable to open file {file}\n" if missing else ""), "", 255)
    assert bmc.messages()[2:] == [
        a.READ_ROOT[0], *([READ_FAILED] if missing else
                          [a.READ_ROOT[1], EXTRACT_FAILED]), a.UNINITIALIZED]


def test_a_folder_for_a_root_certificate(bmc, tmp_path):
    """It has a size that no memory holds, or none at all."""
    (tmp_path / FILE).mkdir(parents=True)
    bmc.start(a.attested(a.device()))
    result = a.attest(bmc, str(tmp_path))
    assert result.status == 255
    assert result.out in [a.output(text + str(tmp_path / FILE) + end)
                          for text, end in (
        ("No sufficient memory to allocate ", "\n"),
        ("Unable to get the file size ", "\n"), ("Read input file error ", ""))]
    assert READ_FAILED in bmc.messages()


def test_a_directory_that_is_missing(bmc):
    """The message has the whole path."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc, "/nowhere").out == a.output(
        f"Unable to open file /nowhere/{FILE}\n")
    assert READ_FAILED in bmc.messages()


def test_a_directory_that_may_not_be_read(bmc, tmp_path):
    """As another user: the file cannot be opened."""
    folder = tmp_path / "roots"
    roots_in(folder)
    looping = folder / "ecp384"
    shutil.rmtree(looping)
    looping.symlink_to("ecp384")
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc, str(folder)).out == a.output(
        f"Unable to open file {folder}/{FILE}\n")


@pytest.mark.parametrize("length", [254, 255, 256, 300])
def test_a_path_has_room_for_254_characters(bmc, tmp_path, length):
    """One of 255 loses its last character, a longer one is refused."""
    folder = folder_of(tmp_path, length - len(FILE) - 1)
    bmc.start(a.attested(a.device()))
    roots_in(folder)
    result = a.attest(bmc, folder)
    cut = f"Unable to open file {folder}/{FILE[:-1]}\n"
    assert result.out == a.output(cut if length == 255 else "")
    assert result.status == (0 if length == 254 else 255)
    assert (READ_FAILED in bmc.messages()) == (length > 254)


@pytest.mark.parametrize("length, complaint", [
    (255, ""), (256, "Failed to copy the new cert dir path.\n"),
    (5000, "Failed to copy the new cert dir path.\n")])
def test_a_directory_has_room_for_255_characters(bmc, length, complaint):
    """Longer text is cut, which standard error tells."""
    bmc.start(a.attested(a.device()))
    result = a.attest(bmc, "/" + "d" * (length - 1))
    assert result == (a.output(), complaint, 255)
    assert bmc.messages()[2:] == [a.READ_ROOT[0], READ_FAILED,
                                  a.UNINITIALIZED]


def test_the_curve_decides_about_the_file(bmc, tmp_path):
    """Only the file of the negotiated algorithm is looked at."""
    bmc.start(a.attested(a.device()))
    folder = tmp_path / "roots"
    roots_in(folder)
    shutil.rmtree(folder / "ecp256")
    assert a.attest(bmc, str(folder)).status == 0


def test_a_foreign_root_is_refused(bmc):
    """The chain is sound, but the root that vouches for it is another."""
    bmc.start(a.attested(a.device()))
    a.SAVE.touch()
    assert a.attest(bmc, a.FOREIGN) == (a.output(), "", 255)
    assert bmc.messages()[2:] == [
        *a.READ_ROOT, a.bitmask(1), (INFO, "  Get cert-chain from slot 0"),
        SAVED, authority(saved_size()), CERT_FAILED, a.UNINITIALIZED]


def test_a_device_of_a_foreign_root_is_refused(bmc):
    """The same from the other side: the device is another's."""
    bmc.start(a.attested(a.device(slots=[
        {"slot": 0, "defect": "foreign-root"}])))
    a.SAVE.touch()
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 255)
    assert bmc.messages()[6:] == [
        SAVED, authority(saved_size()), CERT_FAILED, a.UNINITIALIZED]


def test_the_marker_overrides_the_verdict(bmc):
    """The check still runs and is still reported."""
    bmc.start(a.attested(a.device()))
    a.IGNORE.touch()
    assert a.attest(bmc, a.FOREIGN) == (a.output(), "", 0)
    size, = a.chain_size(bmc)
    assert bmc.messages()[6:9] == [
        authority(size), IGNORED, (INFO, f"  slot 0 cert chain size {size}")]


def test_the_marker_is_reported_with_a_sound_chain_too(bmc):
    """Whoever reads the journal must see that nothing was checked."""
    bmc.start(a.attested(a.device()))
    a.IGNORE.mkdir()
    assert a.attest(bmc, a.ROOTS).status == 0
    assert IGNORED in bmc.messages()


@pytest.mark.parametrize("defect", ["bad-signature", "wrong-root-hash",
                                    "expired-leaf", "leaf-is-authority",
                                    "no-signing-usage", "truncated-leaf"])
def test_a_broken_chain_is_refused(bmc, defect):
    """Its authority is not asked for."""
    bmc.start(a.attested(a.device(slots=[{"slot": 0, "defect": defect}])))
    a.SAVE.touch()
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 255)
    assert bmc.messages()[5:] == [
        (INFO, "  Get cert-chain from slot 0"), SAVED,
        integrity(saved_size()), CERT_FAILED, a.UNINITIALIZED]


def test_both_markers(bmc):
    """Saved first, then accepted whatever the checks say."""
    bmc.start(a.attested(a.device(slots=[
        {"slot": 0, "defect": "wrong-root-hash"}])))
    a.SAVE.touch()
    a.IGNORE.touch()
    a.attest(bmc, a.ROOTS)
    size = saved_size()
    assert bmc.messages()[6:8] == [SAVED, integrity(size)]
    assert IGNORED in bmc.messages()


def test_the_saved_chain_is_the_devices(bmc):
    """Header, root hash, then the root certificate that signed it."""
    bmc.start(a.attested(a.device()))
    a.SAVE.touch()
    assert a.attest(bmc, a.ROOTS).status == 0
    chain = a.CHAIN.read_bytes()
    root = pathlib.Path(a.ROOTS, FILE).read_bytes()
    assert chain[:4] == len(chain).to_bytes(2, "little") + b"\0\0"
    assert chain[4 + 48:].startswith(root)
    assert stat.S_IMODE(a.CHAIN.stat().st_mode) == 0o600
    assert a.chain_size(bmc) == [len(chain)]


def test_an_old_chain_is_replaced(bmc):
    """Not written over: the old file stays what it was for who holds it."""
    bmc.start(a.attested(a.device()))
    a.SAVE.touch()
    a.CHAIN.write_bytes(b"x" * 9000)
    with a.CHAIN.open("rb") as old:
        assert a.attest(bmc).status == 0
        assert old.read() == b"x" * 9000
    assert a.chain_size(bmc) == [saved_size()]


def test_a_planted_link_is_replaced_and_not_followed(bmc, tmp_path):
    """What it points to stays untouched."""
    victim = tmp_path / "victim"
    victim.write_text("precious")
    bmc.start(a.attested(a.device()))
    a.SAVE.touch()
    a.CHAIN.symlink_to(victim)
    assert a.attest(bmc).status == 0
    assert victim.read_text() == "precious"
    assert not a.CHAIN.is_symlink()
    assert a.chain_size(bmc) == [saved_size()]


def test_a_chain_that_cannot_be_saved(bmc):
    """The record says why; the verdict does not change."""
    bmc.start(a.attested(a.device()))
    a.SAVE.touch()
    a.CHAIN.mkdir()
    assert a.attest(bmc).status == 0
    assert (ERROR, "[ERR] Failed to save cert-chain to /tmp/certchain.bin. "
            "Is a directory") in bmc.messages()
    assert SAVED not in bmc.messages()


def test_without_the_marker_nothing_is_saved(bmc):
    """No copy unless it is asked for."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc).status == 0
    assert not a.CHAIN.exists()


def test_a_chain_longer_than_the_buffer(bmc):
    """4096 bytes hold a chain; the library refuses a longer one."""
    bmc.start(a.attested(a.device(slots=[{"slot": 0, "leafFiller": 4000}])))
    assert a.attest(bmc).status == 255
    text = bmc.messages()[-2][1]
    assert text == "  [ERR] Failed to get cert of slot 0. rc = 0x8001000c"
