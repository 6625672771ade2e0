# SPDX-License-Identifier: Apache-2.0
"""What becomes of changes when something goes wrong: every call of each, the
wait behind it, every fault."""

import json

import pytest

import scenarios as s
from changes import (ADDRESS, DEVICE, DRIVE, NAME, OPERATIONS as CHANGES, PATH,
                     change_call, done, update_signal)
from fault_matrix import (HUGE_ITEMS, INTERRUPTS, MISLEADING, TEXTS, WRONG,
                          Operation, Step, fine, said)
from fault_runs import Matrix

MISC = "com.mervax.Operation.Storage.Misc"
UPDATER = "com.mervax.Firmware.Device.Updater"
UPDATED = "Volumes updated at DATE\nRefreshing data takes Nms\n"
IN_SIGNAL = "Exception in handling signal StorageResourceUpdated: "
HYPHENS = "-" * 32 + "\n"
LISTED = "it is listed"
IGNORED = "a signal without data is for nobody; the next one ends the run"
UNREAD = "the data is looked at with -v only"
TOLD = "what cannot be read is told, and the next signal ends the run"
HUGE_TEXT = '{"A":[' + ",".join(["1234567"] * 40000) + "]}"


def spoilt_texts():
    """The signals' texts for the faults of a text."""
    texts = {fault: TEXTS[fault][0] for fault in TEXTS}
    return {**texts, "deep nesting": "[" * 100000, "huge reply": HUGE_TEXT}


def refreshed(play):
    """What a service does in the faults of its signal."""
    wrong = update_signal(ADDRESS, "Volumes", 1.5, signature="usd")
    scenes = {fault: play(update_signal(ADDRESS, "Volumes", text),
                          update_signal())
              for fault, text in spoilt_texts().items()}
    return {INTERRUPTS: play(), "wrong type": play(wrong), **scenes}


def after_signal(printed, verbose):
    """What the faults of the signal lead to."""
    outcomes = {fault: fine(printed + UPDATED, UNREAD) for fault in TEXTS}
    if verbose:
        numbers = "    1234567\n" * 40000
        outcomes = {fault: said(printed + UPDATED + IN_SIGNAL + why + "\n")
                    for fault, (_, why) in TEXTS.items() if why}
        outcomes["JSON null"] = fine(printed + UPDATED + HYPHENS,
                                     "an empty document prints nothing")
        outcomes["huge reply"] = fine(
            printed + UPDATED + HYPHENS + f"A (array, 40000)\n[\n{numbers}]\n",
            "it is printed")
    outcomes["empty string"] = fine(
        printed + UPDATED + (HYPHENS if verbose else ""), IGNORED)
    outcomes["wrong type"] = said(printed + IN_SIGNAL + WRONG["text"] + "\n")
    return outcomes


def change(name, operation, verbose=False):
    """An operation that waits for refreshed data."""
    call = operation.call
    printed = operation.printed

    def raised(why):
        return said(f"{printed}{operation.thrown}{why}\n")

    def play(*signals):
        return operation.play(done(*signals))
    more = ["-v"] if verbose else []
    end = HYPHENS if verbose else ""
    return Operation(
        name, operation.words + more, play(update_signal()),
        printed + UPDATED + end,
        (Step(NAME, call.member, "number", said(printed + operation.refused),
              raised, before=printed),
         Step(NAME, call.member, "text", said(""), raised, before=printed,
              special=after_signal(printed, verbose), waits="signal",
              scenes=refreshed(play), label="wait for refreshed data")))


def one_of_several(number):
    """The print of one of the volumes that share the drives."""
    return ("    {\n       Volume (object, 2)\n       {\n           "
            "Links                    (object, 1)\n           {\n"
            "               Drives (array, 1)\n               [\n"
            "                   {\n                       "
            f"@odata.id                : {number} (number)\n"
            "                   },\n               ]\n           }\n"
            '           RAIDType                 : "RAID0" (string)\n'
            "       }\n    },\n")


def several():
    """The creation of several volumes at once."""
    model = CHANGES["create"]
    request = {"Volumes": [
        {"Volume": {"RAIDType": "RAID0",
                    "Links": {"Drives": [{"@odata.id": number}]}}}
        for number in (1, 2)]}
    text = json.dumps(request, separators=(",", ":"), sort_keys=True)
    return type(model)(
        ["-o", "create", "-p", "Count=2,RAIDType=RAID0,Drives=1:2"],
        change_call("CreateVolumes", "us", ADDRESS, text), model.thrown,
        model.refused, model.failed,
        f"Volumes (array, 2)\n[\n{one_of_several(1)}{one_of_several(2)}]\n")


def action(word):
    """An action on a drive, which is not waited for."""
    def raised(why):
        return said(f"driveAction exception: {why}\n")
    return Operation(
        f"#Drive.{word}", [*DEVICE, "-o", f"#Drive.{word}", "-r", "22"],
        s.method(NAME, PATH, DRIVE, word,
                 {"in": "uu", "out": "i", "return": [0]}), "",
        (Step(NAME, word, "number", said(f"{word}, dbus failure\n"), raised),))


def lookup_raised(why):
    return said(f"getServicesWithInterface exception: {why}\n")


def capture_raised(why):
    return said(f"getTTYlog exception: {why}\n")


TTYLOG = Operation(
    "ttylog", ["-o", "ttylog", "-a", hex(ADDRESS)],
    s.merge(s.mapper(), s.method(NAME, PATH, MISC, "CaptureTTYLog",
                                 {"in": "us", "out": "i", "return": [1]})),
    f"{NAME} captured 1 device log\n",
    (Step(s.MAPPER, "GetSubTree", "list",
          said(f"getServicesWithInterface({MISC}) failed\n"), lookup_raised),
     Step(NAME, "CaptureTTYLog", "number",
          said(f"Capture TTY log failed on {NAME}\ngetTTYlog exception: "
               f"{WRONG['number']}\n"), capture_raised, special={
                   "no service": said("getServicesWithInterface("
                                      f"{MISC}) failed\n")})))


def group(name, count):
    return (f"Get rsa devices: {count} devices\n{name} devices management by "
            "rsa\n")


def list_raised(why):
    return said(f"Failed to get device list. {why}\n")


DEVICE_LINE = ("  P/N: \n    [] Model: , ID: , F/W: , UpdateMethod: , "
               "Controller: 0x0\n")
PADDED = '{"Padding":"' + "x" * 180 + '"}'
NO_SERVICE = "The name com.mervax.rsa was not provided by any .service files\n"
NO_REPLY = ("Message recipient disconnected from message bus without "
            "replying\n")
UPDATE_LIST = Operation(
    "update", ["-o", "update", "-s", "rsa"],
    s.method(NAME, PATH, UPDATER, "GetUpdatableDevices",
             {"json": {"Updatable": [], "Unupdatable": []}}),
    group("Updatable", 0) + "\n" + group("Unupdatable", 0),
    (Step(NAME, "GetUpdatableDevices", "document",
          said("Failed to get device list. It did not work.\n"), list_raised,
          special={
              "no service": said("Failed to get device list. " + NO_SERVICE),
              "misleading error": said("Failed to get device list. " +
                                       MISLEADING[1] + "\n"),
              "service dies": said("Failed to get device list. " + NO_REPLY),
              "JSON null": list_raised(
                  "[json.exception.type_error.306] cannot use value() with "
                  "null"),
              "huge reply": fine(
                  group("Updatable", HUGE_ITEMS + 1) +
                  DEVICE_LINE * (HUGE_ITEMS + 1) + "\n" +
                  group("Unupdatable", 0), LISTED),
          }, huge=('{"Updatable":[', PADDED + ",", PADDED + "]}")),))

RECORD = {"ErrorCode": 0, "Progress": 50, "CompletedDeviceCount": 0,
          "TotalDeviceCount": 2, "ElapsedSeconds": 1,
          "EstimatedRemainingSeconds": 1}
AT_50 = ("\x1b[A\x1b[KProgress 50%, Completed 0/2, Elapsed Time(s) = 1, "
         "Estimated Remaining Time(s) = 1\n")
AT_100 = AT_50.replace("50%", "100%")


def progress(text, signature="s"):
    return {"path": PATH, "interface": UPDATER, "signature": signature,
            "member": "DeviceUpdateStatusChanged", "args": [text]}


FINISHED = progress(json.dumps({**RECORD, "Progress": 100}))


def accepted(*signals):
    return s.method(NAME, PATH, UPDATER, "UpdateDevices", {
        "in": "sssas", "out": "b", "return": [True],
        "signals_after": list(signals)})


def reported(why):
    """What is told of a signal that cannot be used, and the end."""
    return fine(f"F/W update callback: {why}\n{AT_100}", TOLD)


def incomplete():
    """A document without any of the members."""
    return fine(f"Update signal data has no ErrorCode\n{AT_100}", TOLD)


def update_raised(why):
    return said(f"Update Device: {why}\n")


PROGRESS = {
    "wrong type": reported(WRONG["text"]),
    **{fault: reported(why) for fault, (_, why) in TEXTS.items() if why},
    "JSON null": incomplete(),
    "huge reply": incomplete(),
}
UPDATE = Operation(
    "update -f", ["-o", "update", "-s", "rsa", "-f", "/tmp/P1_2.bin", "-p",
                  "PN=P1"],
    accepted(FINISHED), AT_100,
    (Step(NAME, "UpdateDevices", "boolean",
          said("Dbus method failed. It did not work.\n"), update_raised,
          special={"no service": said("Dbus method failed. " + NO_SERVICE),
                   "misleading error": said("Dbus method failed. " +
                                            MISLEADING[1] + "\n"),
                   "service dies": said("Dbus method failed. " + NO_REPLY)}),
     Step(NAME, "UpdateDevices", "text", said(""),
          lambda why: said(f"Exception: {why}\n"), special=PROGRESS,
          waits="signal", label="wait for progress", scenes={
              INTERRUPTS: accepted(),
              "wrong type": accepted(progress(1.5, "d"), FINISHED),
              **{fault: accepted(progress(text), FINISHED)
                 for fault, text in spoilt_texts().items()}})))

OPERATIONS = [
    change("create", CHANGES["create"]),
    change("create, several volumes", several()),
    change("create, drives left to the service", CHANGES["autocfg"]),
    change("edit", CHANGES["edit"]), change("delete", CHANGES["delete"]),
    change("clear", CHANGES["clear"]),
    change("clear -v", CHANGES["clear"], verbose=True),
    action("SecureErase"), action("Reset"), TTYLOG, UPDATE_LIST, UPDATE]
MATRIX = Matrix("changes", OPERATIONS)


@pytest.mark.parametrize("operation, step, fault", MATRIX.cases)
def test_fault(bmc, operation, step, fault):
    """It ends as it is to end."""
    MATRIX.run(bmc, operation, step, fault)


def test_the_table_tells_it():
    """The part of docs/reliability.md about changes."""
    MATRIX.settle()
