# SPDX-License-Identifier: Apache-2.0
"""Creating and editing volumes: from parameters and files to the call."""

import pytest

import scenarios as s
from changes import (ADDRESS, DEVICE, NAME, OPERATIONS, PATH, VOLUME,
                     change_call, done, shown, text, update_signal,
                     updated_after)
from expect import ended
from harness import Call

CREATE = [*DEVICE, "-o", "create"]
EDIT = [*DEVICE, "-o", "edit", "-r", "406"]
NOT_CHANGED = f"Failed to create/edit volume on device {ADDRESS:#x}\n"
INVALID_UTF8 = ("[json.exception.type_error.316] invalid UTF-8 byte at index "
                "1: 0xFF\n")
TWO_VOLUMES = [{"Volume": {"Links": {"Drives": [{"@odata.id": 1},
                                                {"@odata.id": 2}]},
                           "RAIDType": "RAID1"}},
               {"Volume": {"Links": {"Drives": [{"@odata.id": 3},
                                                {"@odata.id": 4}]},
                           "RAIDType": "RAID1"}}]


def service(*overlays, reply=None):
    """A service that makes every change and refreshes its data."""
    return s.merge(*[
        s.method(NAME, PATH, VOLUME, member,
                 {"in": signature, **(reply or done(update_signal()))})
        for member, signature in (
            ("CreateVolume", "us"), ("CreateVolumes", "us"),
            ("EditVolume", "uus"), ("AutoConfig", "usssuuusutss"))],
        *overlays)


def created(volume):
    """The call that creates one volume."""
    return change_call("CreateVolume", "us", ADDRESS, text({"Volume": volume}))


def links(*drives):
    return {"Drives": [{"@odata.id": drive} for drive in drives]}


def write(bmc, content, name="request.json"):
    """A file for -f."""
    path = bmc.folder / name
    path.write_bytes(content if isinstance(content, bytes)
                     else content.encode())
    return str(path)


def test_a_volume_is_created_from_named_drives(bmc):
    """The request is printed, sent, and its update reported."""
    bmc.start(service())
    result = bmc.run(*CREATE, "-p",
                     "DisplayName=vd1,RAIDType=RAID1,Drives=22:23")
    updated_after(result, """\
Volume (object, 3)
{
    DisplayName              : "vd1" (string)
    Links                    (object, 1)
    {
       Drives (array, 2)
       [
           {
               @odata.id                : 22 (number)
           },
           {
               @odata.id                : 23 (number)
           },
       ]
    }
    RAIDType                 : "RAID1" (string)
}
""")
    assert bmc.calls() == [created({"DisplayName": "vd1", "RAIDType": "RAID1",
                                    "Links": links(22, 23)})]


def test_drives_that_cannot_be_shared_evenly_send_nothing(bmc):
    """The two numbers are told."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-p", "Count=2,RAIDType=RAID1,Drives=1:2:3"),
          out="Drive count 3 mismatch with the expected volume count 2\n",
          status=255)
    assert bmc.calls() == []


def test_several_volumes_share_the_drives(bmc):
    """They are printed and sent under one key, in order."""
    bmc.start(service())
    result = bmc.run(*CREATE, "-p", "Count=2,RAIDType=RAID1,Drives=1:2:3:4")
    assert result.out.startswith("Volumes (array, 2)\n[\n    {\n"), result.out
    assert result.status == 0
    assert bmc.calls() == [change_call("CreateVolumes", "us", ADDRESS,
                                       text({"Volumes": TWO_VOLUMES}))]


def test_editing_several_is_one_edit(bmc):
    """Only creating has a method of its own for them."""
    bmc.start(service())
    result = bmc.run(*EDIT, "-p", "Count=2,RAIDType=RAID1,Drives=1:2:3:4")
    assert result.status == 0
    assert bmc.calls() == [change_call("EditVolume", "uus", ADDRESS, 406,
                                       text({"Volumes": TWO_VOLUMES}))]


@pytest.mark.parametrize("params", [
    "Count=0,a=x", "a=x,Count=", "a=x,Count=1"])
def test_a_count_of_nothing_is_one_volume(bmc, params):
    """Zero, one, and the word with nothing behind it."""
    bmc.start(service())
    updated_after(bmc.run(*CREATE, "-p", params), shown({"a": "x"}))
    assert bmc.calls() == [created({"a": "x"})]


def test_a_drive_list_keeps_its_numbers_only(bmc):
    """A piece that begins with anything else is left out."""
    bmc.start(service())
    bmc.run(*CREATE, "-p", "Drives=22:x:23")
    assert bmc.calls() == [created({"Links": links(22, 23)})]


def test_a_name_of_digits_is_a_number(bmc):
    """Without its leading zeros."""
    bmc.start(service())
    updated_after(bmc.run(*CREATE, "-p", "DisplayName=007"),
                  shown({"DisplayName": 7}))
    assert bmc.calls() == [created({"DisplayName": 7})]


def test_values_take_the_type_they_look_like(bmc):
    """And the later of two pairs wins."""
    bmc.start(service())
    members = {"a": True, "b": False, "c": 18446744073709551615, "d": "x=y",
               "e": "", "f": "late"}
    updated_after(bmc.run(*CREATE, "-p", "a=true,b=false,f=early,"
                          "c=18446744073709551615,d=x=y,e=,f=late"),
                  shown(members))
    assert bmc.calls() == [created(members)]


def test_editing_sends_the_resource_id_behind_the_address(bmc):
    """As -r gave it."""
    bmc.start(service())
    updated_after(bmc.run(*EDIT, "-p", "DisplayName=VD02"),
                  shown({"DisplayName": "VD02"}))
    assert bmc.calls() == [OPERATIONS["edit"].call]


def test_a_negative_resource_id_travels_as_its_bits(bmc):
    """The option is signed, the argument is not."""
    bmc.start(service())
    bmc.run(*EDIT, "-r", "-2", "-p", "a=b")
    assert bmc.calls()[0].args[1] == 4294967294


def test_automatic_configuration_takes_every_member(bmc):
    """Each in its place; the seventh argument is always 0."""
    bmc.start(service())
    result = bmc.run(
        *CREATE, "-p", "WritePolicy=w,ReadPolicy=r,DisplayName=n,"
        "StripSizeBytes=65536,CapacityBytes=6000000000000,MediaType=SSD,"
        "Protocol=SAS,HotspareCnt=1,DrvCnt=4,RAIDType=RAID5")
    assert result.status == 0
    assert bmc.calls() == [change_call(
        "AutoConfig", "usssuuusutss", ADDRESS, "RAID5", "SAS", "SSD", 4, 1, 0,
        "n", 65536, 6000000000000, "r", "w")]


def test_automatic_configuration_wins_over_edit(bmc):
    """The resource id is then not sent."""
    bmc.start(service())
    assert bmc.run(*EDIT, "-p", "RAIDType=RAID1,DrvCnt=2").status == 0
    assert [call.member for call in bmc.calls()] == ["AutoConfig"]


@pytest.mark.parametrize("params, members, message", [
    ("DrvCnt=2", {"DrvCnt": 2}, "No RAIDType\n" + NOT_CHANGED),
    ("RAIDType=,DrvCnt=2", {"DrvCnt": 2, "RAIDType": ""},
     "No RAIDType\n" + NOT_CHANGED),
    ("RAIDType=RAID1,DrvCnt=0", {"DrvCnt": 0, "RAIDType": "RAID1"},
     "No DrvCnt\n" + NOT_CHANGED),
    ("RAIDType=DrvCnt", {"RAIDType": "DrvCnt"}, "No DrvCnt\n" + NOT_CHANGED),
    ("RAIDType=5,DrvCnt=2", {"RAIDType": 5, "DrvCnt": 2},
     "createOrEditVolume exception: [json.exception.type_error.302] type must "
     "be string, but is number\n"),
    ("RAIDType=RAID1,DrvCnt=two", {"RAIDType": "RAID1", "DrvCnt": "two"},
     "createOrEditVolume exception: [json.exception.type_error.302] type must "
     "be number, but is string\n"),
])
def test_automatic_configuration_that_lacks_something(bmc, params, members,
                                                      message):
    """Nothing is sent."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-p", params), out=shown(members) + message,
          status=255)
    assert bmc.calls() == []


def test_automatic_configuration_of_several_is_refused(bmc):
    """There is nothing to print and nothing to send."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-p", "Count=2,RAIDType=RAID1,DrvCnt=2"),
          out=NOT_CHANGED, status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("params", [",", "x", "Count=2", "Drives=x", "Count="])
def test_parameters_that_describe_nothing(bmc, params):
    """No word about it, but no success."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-p", params), status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("params, reason", [
    ("Count=x,a=b", "stoul"),
    ("Count=,a=b", "stoul"),
    ("Count=99999999999999999999,a=b", "stoul"),
    ("Drives=99999999999999999999", "stoul"),
    ("a=18446744073709551616", "stoull"),
    ("Count=4000000000,Hotspares=1", "Request is longer than a bus message"),
    ("Count=2,a=b",
     "[json.exception.type_error.307] cannot use erase() with null"),
    ("Count=2,Drives=1:2,Links=x",
     "[json.exception.type_error.307] cannot use erase() with string"),
    ("Links=x,Drives=1",
     "[json.exception.type_error.305] cannot use operator[] with a string "
     "argument with string"),
])
def test_parameters_that_do_not_convert(bmc, params, reason):
    """The exception's own text; nothing is sent."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-p", params), out=f"Exception: {reason}\n",
          status=255)
    assert bmc.calls() == []


def test_a_name_that_is_no_utf8_is_not_sent(bmc):
    """It cannot even be printed."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-p", b"DisplayName=a\xff"),
          out="Volume (object, 1)\n{\nException: " + INVALID_UTF8, status=255)
    assert bmc.calls() == []


def test_a_key_that_is_no_utf8_is_not_sent(bmc):
    """It is printed as it stands; the request cannot be written."""
    bmc.start(service())
    result = bmc.run(*CREATE, "-p", b"a\xff=b")
    assert result.out.endswith("}\ncreateOrEditVolume exception: " +
                               INVALID_UTF8)
    assert (result.err, result.status) == ("", 255)
    assert bmc.calls() == []


def test_a_request_comes_from_a_file(bmc):
    """And is sent compact, its members by name."""
    bmc.start(service())
    file = write(bmc, '{ "Volume" :\n {"b": 1, "a": "x"} }')
    updated_after(bmc.run(*CREATE, "-f", file), shown({"a": "x", "b": 1}))
    assert bmc.calls() == [created({"a": "x", "b": 1})]


def test_an_edit_comes_from_a_file(bmc):
    """Like a creation."""
    bmc.start(service())
    file = write(bmc, '{"Volume":{"a":"x"}}')
    updated_after(bmc.run(*EDIT, "-f", file), shown({"a": "x"}))
    assert [call.member for call in bmc.calls()] == ["EditVolume"]


@pytest.mark.parametrize("document", [TWO_VOLUMES, {"Volumes": TWO_VOLUMES}])
def test_several_volumes_come_from_a_file(bmc, document):
    """A bare array is wrapped; what is wrapped already stays."""
    bmc.start(service())
    result = bmc.run(*CREATE, "-f", write(bmc, text(document)))
    assert result.out.startswith("Volumes (array, 2)\n[\n")
    assert bmc.calls() == [change_call("CreateVolumes", "us", ADDRESS,
                                       text({"Volumes": TWO_VOLUMES}))]


def test_parameters_win_over_a_file(bmc):
    """The file is not even opened."""
    bmc.start(service())
    updated_after(bmc.run(*CREATE, "-p", "a=b", "-f", "/none"),
                  shown({"a": "b"}))
    assert bmc.calls() == [created({"a": "b"})]


def test_a_file_that_cannot_be_opened(bmc):
    """Told on standard error."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-f", "/none/x.json"),
          err="Failed to open in file: /none/x.json\n", status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("content", [
    b"", b"\n", b"{", b"{}}", b"{'a':1}", b'{"a":"\xff"}', b"nul"])
def test_a_file_without_a_document(bmc, content):
    """Told on standard error."""
    bmc.start(service())
    file = write(bmc, content)
    ended(bmc.run(*CREATE, "-f", file),
          err=f"in file is invalid JSON: {file}\n", status=255)
    assert bmc.calls() == []


def test_a_directory_is_a_file_without_a_document(bmc):
    """It can be opened, but not read."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-f", "/tmp"),
          err="in file is invalid JSON: /tmp\n", status=255)
    assert bmc.calls() == []


def test_a_file_with_a_number_cannot_be_printed(bmc):
    """A number has no members with keys."""
    bmc.start(service())
    ended(bmc.run(*CREATE, "-f", write(bmc, "5")),
          out="Exception: [json.exception.invalid_iterator.207] cannot use "
          "key() for non-object iterators\n", status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("content", ["null", "{}"])
def test_an_empty_document_is_the_services_to_judge(bmc, content):
    """It prints nothing and is sent."""
    bmc.start(service(reply=done(result=1)))
    ended(bmc.run(*CREATE, "-f", write(bmc, content)), out=NOT_CHANGED,
          status=255)
    assert bmc.calls() == [change_call("CreateVolume", "us", ADDRESS, content)]


def test_a_file_nested_too_deep_is_refused(bmc):
    """Before anything of it is printed."""
    bmc.start(service())
    file = write(bmc, "[" * 513 + "]" * 513)
    ended(bmc.run(*CREATE, "-f", file),
          out="Exception: JSON document is nested deeper than 512 levels\n",
          status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("words", [["-o", "create"],
                                   ["-o", "edit", "-r", "406"]])
def test_a_service_must_be_named(bmc, words):
    """The request is printed before that is looked at."""
    bmc.start(service())
    ended(bmc.run("-a", "0x8c0000", *words, "-p", "a=b"),
          out=shown({"a": "b"}) + "Device address or service not specified\n",
          status=255)
    assert bmc.calls() == []


def test_a_service_word_that_is_no_bus_name(bmc):
    """The call cannot be built."""
    bmc.start(service())
    ended(bmc.run("-a", "1", "-s", "no service", "-o", "create", "-p", "a=b"),
          out=shown({"a": "b"}) + "createOrEditVolume exception: "
          "sd_bus_message_new_method_call: "
          "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n",
          status=255)


def test_the_simulated_controller_keeps_what_is_changed(bmc):
    """Created, listed, renamed, deleted, configured and cleared; drives in
    use, too few and unknown ones are refused."""
    drive = {"CapacityBytes": 1 << 30, "Protocol": "SAS", "MediaType": "SSD"}
    bmc.start(s.service(NAME, models=[{
        "model": "raid", "path": PATH, "controllers": {hex(ADDRESS): {
            "Drives": [{**drive, "Internal": {"ResourceId": number}}
                       for number in (22, 23, 24)]}}}]))

    def run(*words):
        return bmc.run(*DEVICE, *words).status

    def volumes():
        return bmc.run(*DEVICE, "-o", "list", "-t", "Volumes").out

    def line(number, name):
        return (f"  {name}, ResId {number}, RAID1, 1.00GiB; StripSize=64KB, "
                "ReadAhead, WriteThrough, WtCacheState=Unprotected\n")
    named = ["-o", "create", "-p", "DisplayName=vd1,RAIDType=RAID1,Drives=22:"]
    assert run(*named[:-1], named[-1] + "23") == 0
    assert volumes() == line(400, "vd1")
    assert run(*named[:-1], named[-1] + "24") == 255
    assert run("-o", "create", "-p", "RAIDType=RAID1,Drives=24") == 255
    assert run("-o", "create", "-p", "RAIDType=RAID0,Drives=99") == 255
    assert run("-o", "create", "-p", "RAIDType=RAID1,DrvCnt=2") == 255
    assert run("-o", "edit", "-r", "400", "-p", "DisplayName=VD02") == 0
    assert volumes() == line(400, "VD02")
    assert run("-o", "#Drive.SecureErase", "-r", "22") == 255
    assert run("-o", "delete", "-r", "9") == 255
    assert run("-o", "delete", "-r", "400") == 0
    assert run("-o", "#Drive.SecureErase", "-r", "22") == 0
    assert volumes() == ""
    auto = ["-o", "create", "-p", "RAIDType=RAID1,DrvCnt=2,HotspareCnt=1"]
    assert run(*auto) == 0
    assert volumes() == line(401, "VD401")
    assert run("-o", "clear") == 0
    assert volumes() == ""
    assert Call(NAME, PATH, VOLUME, "DeleteVolume", "uu",
                [ADDRESS, 400]) in bmc.calls()
