// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/fault_config.hpp"

#include "sim/spdm/bytes.hpp"
#include "sim/spdm/words.hpp"

#include <limits>

namespace sim::spdm
{

namespace
{

constexpr Word<uint8_t> requestWords[] = {
    {"ANY", 0},
    {"GET_VERSION", request::getVersion},
    {"GET_CAPABILITIES", request::getCapabilities},
    {"NEGOTIATE_ALGORITHMS", request::negotiateAlgorithms},
    {"GET_DIGESTS", request::getDigests},
    {"GET_CERTIFICATE", request::getCertificate},
    {"CHALLENGE", request::challenge},
    {"GET_MEASUREMENTS", request::getMeasurements},
    {"GET_KEY_PAIR_INFO", request::getKeyPairInfo},
    {"CHUNK_SEND", request::chunkSend},
    {"CHUNK_GET", request::chunkGet},
    {"RESPOND_IF_READY", request::respondIfReady}};

/** "busy" is an error with a code of its own. */
struct Kind
{
    FaultKind kind;
    uint8_t code = error::unspecified;
};

constexpr Word<Kind> kindWords[] = {
    {"wrong-signature", {FaultKind::wrongSignature}},
    {"wrong-nonce", {FaultKind::wrongNonce}},
    {"wrong-context", {FaultKind::wrongContext}},
    {"error", {FaultKind::error}},
    {"busy", {FaultKind::error, error::busy}},
    {"not-ready", {FaultKind::notReady}},
    {"resynch", {FaultKind::resynch}},
    {"truncate", {FaultKind::truncate}},
    {"pad", {FaultKind::pad}},
    {"empty", {FaultKind::empty}},
    {"raw", {FaultKind::raw}},
    {"slow", {FaultKind::slow}},
    {"dead", {FaultKind::dead}},
    {"mutate", {FaultKind::mutate}}};

void readKind(const Node& node, Fault& fault)
{
    Kind kind = pick(node.at("kind"), kindWords);
    fault.kind = kind.kind;
    fault.code = static_cast<uint8_t>(node.number("code", kind.code, 0, 0xff));
    fault.data = static_cast<uint8_t>(node.number("data", 0, 0, 0xff));
}

void readAmounts(const Node& node, Fault& fault)
{
    constexpr uint64_t most = 65536;
    fault.bytes = node.number("bytes", 0, 0, most);
    fault.seed = node.number("seed", 0);
    fault.changes = static_cast<unsigned>(node.number("changes", 1, 1, most));
    fault.delay =
        std::chrono::milliseconds(node.number("milliseconds", 0, 0, 3600000));
    if (auto answer = node.find("answer"))
    {
        fault.answer = bytesOf(*answer);
    }
}

} // namespace

Bytes bytesOf(const Node& node)
{
    try
    {
        return fromHex(node.text());
    }
    catch (const std::invalid_argument& error)
    {
        node.fail(std::string("has ") + error.what());
    }
}

Fault readFault(const Node& node)
{
    constexpr uint64_t most = std::numeric_limits<unsigned>::max();
    node.allowOnly({"at", "nth", "times", "kind", "code", "data", "bytes",
                    "seed", "changes", "milliseconds", "answer"});
    Fault fault;
    fault.at = pick(node, "at", fault.at, requestWords);
    fault.nth = static_cast<unsigned>(node.number("nth", 1, 1, most));
    fault.times = static_cast<unsigned>(node.number("times", 1, 0, most));
    readKind(node, fault);
    readAmounts(node, fault);
    return fault;
}

} // namespace sim::spdm
