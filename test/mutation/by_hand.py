# SPDX-License-Identifier: Apache-2.0
"""Faults that no generator makes: what somebody could write who is sure of it.

A file, what is wrong with it, what stands there once, and what is written
instead.
"""

import plant

_SPDM = "subprojects/libspdm/src/"
_FAULTS = (
    # What is proven to whom.
    ("io/common/spdm/Measurements.cpp", "signed in slot 0 only",
     "isSigned ? generateSignature",
     "isSigned && slot == 0 ? generateSignature"),
    (_SPDM + "measurement_response.cpp", "signature checked in slot 0 only",
     "return !query.isSigned() ||\n                   verifySignature(",
     "return !query.isSigned() || query.slot != 0 ||\n verifySignature("),
    (_SPDM + "measurement_response.cpp", "any block is the one asked for",
     "query.operation == allBlocks || query.operation == index",
     "query.operation == allBlocks || query.operation != totalNumber"),
    (_SPDM + "measurement_response.cpp", "content changes without a signature",
     "mayBeSet || change == 0", "mayBeSet || change != 1"),
    (_SPDM + "selection.cpp", "a signature algorithm that was not offered",
     "libspdm_get_asym_signature_size(selected) != 0 &&\n           (selected &"
     " context.local.algorithms.baseAsym) != 0",
     "libspdm_get_asym_signature_size(selected) != 0"),
    (_SPDM + "challenge.cpp", "a challenge by another chain",
     "if (!isChainHash(", "if (hashSize(context) == 0 && !isChainHash("),
    (_SPDM + "challenge.cpp", "a challenge of a slot that is not provisioned",
     "if (slot != challenge.slot || !provisioned)",
     "if (slot != challenge.slot || (slot > 7 && !provisioned))"),
    (_SPDM + "crypto.cpp", "no random numbers are random enough",
     "return RAND_bytes(area.data(), static_cast<int>(area.size())) == 1;",
     "return RAND_bytes(area.data(), static_cast<int>(area.size())) >= 0;"),
    (_SPDM + "capabilities.cpp", "any exponent of the time",
     " || peer.ctExponent > maxCtExponent", ""),
    (_SPDM + "tail.cpp", "opaque data of any size",
     "if (size > SPDM_MAX_OPAQUE_DATA_SIZE || formatLacks)",
     "if (formatLacks)"),
    (_SPDM + "certificate.cpp", "portions of different totals",
     "end <= UINT16_MAX && (reading.offset == 0 || end == reading.total)",
     "end <= UINT16_MAX"),
    (_SPDM + "certificate.cpp", "portions of more than 64 kB",
     "end <= UINT16_MAX && (reading.offset == 0 || end == reading.total)",
     "reading.offset == 0 || end == reading.total"),
    (_SPDM + "verification.cpp", "a chain of another length than it says",
     "if (chain.rootHash.empty() || chain.length != buffer.size())",
     "if (chain.rootHash.empty())"),
    (_SPDM + "digests.cpp", "a generic certificate in slot 0",
     "(read.certInfo == SPDM_CERTIFICATE_INFO_CERT_MODEL_GENERIC_CERT ||\n"
     "         (read.keyUsage & anyUse) == 0)",
     "(read.keyUsage & anyUse) == 0"),
    (_SPDM + "certificate.cpp", "a generic certificate in slot 0",
     "(slot == 0 &&\n              model == "
     "SPDM_CERTIFICATE_INFO_CERT_MODEL_GENERIC_CERT)", "slot == 9"),
    (_SPDM + "verification.cpp", "an authority that follows itself",
     "!spdm::hasSameContent(first, rest)", "true"),
    (_SPDM + "chunk_get.cpp", "silence is the chunk before",
     "    std::ranges::fill(region, uint8_t{0});\n", ""),
    (_SPDM + "chunk_send.cpp", "silence is the acknowledgement before",
     "            std::ranges::fill(chunkRegion(context), uint8_t{0});\n", ""),
    (_SPDM + "measurements.cpp", "a failed measurement is signed with the next",
     "    {\n        context.measurements.reset();\n    }", "    {\n    }"),
    (_SPDM + "digests.cpp", "measurements go on behind the digests",
     "    context.measurements.reset();\n", ""),
    (_SPDM + "certificate.cpp", "measurements go on behind the certificate",
     "    context.measurements.reset();\n", ""),
    (_SPDM + "challenge.cpp", "measurements go on behind the challenge",
     "    context.measurements.reset();\n", ""),
    # What is kept.
    ("io/common/src/File.cpp", "a write that fails is none",
     'require(written >= 0 || errno == EINTR, "write");',
     "if (written < 0 && errno != EINTR)\n{\n    return;\n}"),
    ("io/common/src/File.cpp", "the storage's failure is none",
     'require(fsync(file.number()) == 0, "fsync");', "fsync(file.number());"),
    ("io/common/src/File.cpp", "the name is not brought to the storage",
     "    syncFolder(target);\n", ""),
    ("io/common/src/File.cpp", "named before it is written",
     '    writeAll(file, content);\n    require(rename(beside.c_str(), '
     'target.c_str()) == 0, "rename");\n    renamed = true;',
     '    require(rename(beside.c_str(), target.c_str()) == 0, "rename");\n'
     "    renamed = true;\n    writeAll(file, content);"),
    ("io/common/src/File.cpp", "a turn without a lock",
     "flock(file.number(), LOCK_EX | LOCK_NB) == 0",
     "flock(file.number(), LOCK_SH | LOCK_NB) == 0"),
    ("io/common/src/File.cpp", "a lock on a file that has lost its name",
     "locked && isNamed(file, path)", "locked"),
    # Who waits for what.
    ("io/common/src/Wait.hpp", "subscribed after the call",
     "    [[maybe_unused]] const auto match = subscribe();\n    if (start())\n"
     "    {\n", "    if (start())\n    {\n"
     "        [[maybe_unused]] const auto match = subscribe();\n"),
    ("io/common/src/Wait.cpp", "no drain before the wait",
     "    while (conn->process_discard())\n    {\n    }\n", ""),
    ("io/common/src/BusCall.cpp", "signals of a call are lost",
     "        sd_bus_enqueue_for_read(bus, signal.get());\n", ""),
    ("io/common/src/BusCall.cpp", "an error reply is taken for its errno",
     "        return std::unexpected(",
     "        check(-sd_bus_error_get_errno(error), failedCall);\n"
     "        return std::unexpected("),
    ("io/common/spdm/UdsSocket.cpp", "a descriptor beyond the set",
     "if (fd < 0 || fd >= FD_SETSIZE)", "if (fd < 0)"),
    ("io/common/spdm/UdsSocket.cpp", "connected before it is bound",
     "           bind(fd.number(), self, sizeof(address)) == 0 &&\n"
     "           connect(fd.number(), self, sizeof(address)) == 0;",
     "           connect(fd.number(), self, sizeof(address)) == 0 &&\n"
     "           bind(fd.number(), self, sizeof(address)) == 0;"),
    ("io/common/spdm/PathUsers.cpp", "a user that does not count",
     "lock(file, F_OFD_SETLK, F_RDLCK, use)",
     "lock(file, F_OFD_SETLK, F_UNLCK, use)"),
    # What is said to whom.
    ("tool/firmware/update.cpp", "a message to the other stream",
     'out::line("Failed to initiate device update")',
     'out::errorLine({"Failed to initiate device update"})'),
    ("tool/storage/request_file.cpp", "a complaint to the other stream",
     'out::errorLine({"Failed to open in file: ", name})',
     'out::line({"Failed to open in file: ", name})'),
    ("tool/output.cpp", "asked for lost output before the last is out",
     "    flush();\n    if (lostOutput == 0)\n    {\n",
     "    if (lostOutput == 0)\n    {\n        flush();\n"),
    ("tool/storage/change_volume.cpp", "a wrong but valid method",
     '? "CreateVolumes" : "CreateVolume"',
     '? "CreateVolume" : "CreateVolumes"'),
    ("tool/storage/change_volume.cpp", "two arguments swapped",
     'number("HotspareCnt"), reserved,', 'reserved, number("HotspareCnt"),'),
    ("tool/firmware/progress.cpp", "a wrong but valid member",
     '"ElapsedSeconds", &ProgressRecord::elapsed',
     '"ElapsedSeconds", &ProgressRecord::remaining'),
    ("tool/dispatch.cpp", "two checks swapped",
     "{needsResourceId, needsAddress, needsParamOrFile}",
     "{needsAddress, needsResourceId, needsParamOrFile}"),
    ("io/common/src/Targets.hpp", "a wrong but valid object",
     '"/xyz/openbmc_project/state/chassis0"',
     '"/xyz/openbmc_project/state/chassis1"'),
    ("io/common/spdm/CertChain.cpp", "a refusal is told as consent",
     "peers, chain, size, trustAnchor, trustAnchorSize);\n    if (!trusted)",
     "peers, chain, size, trustAnchor, trustAnchorSize);\n    if (trusted)"),
    ("io/common/spdm/Authenticate.cpp", "the roots loaded after the slots",
     "        status = loadRootCert(rootCertDir, negotiated);\n    }\n"
     "    KeyUsageMap slots;\n    if (!LIBSPDM_STATUS_IS_ERROR(status))\n"
     "    {\n        status = readSlots(negotiated, slots);\n    }",
     "    }\n    KeyUsageMap slots;\n"
     "    status = readSlots(negotiated, slots);\n"
     "    if (!rootCertDir.empty() && !LIBSPDM_STATUS_IS_ERROR(status))\n"
     "    {\n        status = loadRootCert(rootCertDir, negotiated);\n    }"),
    ("tool/attest/module.cpp", "a module of any version",
     "if (std::strcmp(version, ATTEST_MODULE_VERSION) != 0)",
     "if (std::strlen(version) == 0)"),
    ("tool/storage/request_file.cpp", "a request longer than a message",
     "128UL << 20", "129UL << 20"),
    ("tool/json/read.cpp", "no number from 2^63 on",
     "number < 2 * limit", "number < limit"),
    ("tool/json/read.cpp", "2^64 is a number", "number < 2 * limit",
     "number <= 2 * limit"),
)


def faults(sources):
    """These faults in a commit's sources, by their number."""
    return dict(enumerate(_fault(sources, *words) for words in _FAULTS))


def _fault(sources, file, kind, before, after):
    text = sources.read(file)
    if text.count(before) != 1:
        raise RuntimeError(f"{file} has not once: {before}")
    start = text.index(before)
    return plant.Fault(file, text.count("\n", 0, start) + 1, kind, start,
                       start + len(before), before, after)
