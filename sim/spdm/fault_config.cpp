#include "sim/spdm/fault_config.hpp"

#include "sim/spdm/json_fields.hpp"

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

void readKind(Fields& fields, Fault& fault)
{
    if (fields.find("kind") == nullptr)
    {
        fields.fail("kind", "is missing");
    }
    Kind kind = fields.word("kind", Kind{FaultKind::dead}, kindWords);
    fault.kind = kind.kind;
    fault.code =
        static_cast<uint8_t>(fields.number("code", kind.code, 0, 0xff));
    fault.data = static_cast<uint8_t>(fields.number("data", 0, 0, 0xff));
}

void readAmounts(Fields& fields, Fault& fault)
{
    constexpr uint64_t most = 65536;
    fault.bytes = fields.number("bytes", 0, 0, most);
    fault.seed = fields.number("seed", 0, 0, UINT64_MAX);
    fault.changes = static_cast<unsigned>(fields.number("changes", 1, 1, most));
    fault.delay =
        std::chrono::milliseconds(fields.number("milliseconds", 0, 0, 3600000));
    fault.answer = fields.hex("answer");
}

} // namespace

Fault readFault(const nlohmann::json& json, const std::string& place)
{
    Fields fields(json, place);
    Fault fault;
    fault.at = fields.word("at", fault.at, requestWords);
    fault.nth = static_cast<unsigned>(fields.number("nth", 1, 1, UINT32_MAX));
    fault.times =
        static_cast<unsigned>(fields.number("times", 1, 0, UINT32_MAX));
    readKind(fields, fault);
    readAmounts(fields, fault);
    fields.done();
    return fault;
}

} // namespace sim::spdm
