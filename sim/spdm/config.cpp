#include "sim/spdm/config.hpp"

#include "sim/spdm/fault_config.hpp"
#include "sim/spdm/json_fields.hpp"

#include <algorithm>
#include <limits>

namespace sim::spdm
{

namespace
{

constexpr Word<uint8_t> versionWords[] = {{"1.0", version::v10},
                                          {"1.1", version::v11},
                                          {"1.2", version::v12},
                                          {"1.3", version::v13}};

constexpr Word<MeasurementSupport> measurementWords[] = {
    {"none", MeasurementSupport::none},
    {"unsigned", MeasurementSupport::withoutSignature},
    {"signed", MeasurementSupport::withSignature}};

constexpr Word<MultiKey> multiKeyWords[] = {
    {"none", MultiKey::none},
    {"only", MultiKey::only},
    {"negotiable", MultiKey::negotiable}};

constexpr Word<Curve> curveWords[] = {{"ecdsa-p256", Curve::p256},
                                      {"ecdsa-p384", Curve::p384}};

constexpr Word<Hash> hashWords[] = {{"sha-256", Hash::sha256},
                                    {"sha-384", Hash::sha384},
                                    {"sha-512", Hash::sha512}};

constexpr Word<std::optional<Hash>> measurementHashWords[] = {
    {"raw", std::nullopt},
    {"sha-256", Hash::sha256},
    {"sha-384", Hash::sha384},
    {"sha-512", Hash::sha512}};

constexpr Word<ChainDefect> defectWords[] = {
    {"none", ChainDefect::none},
    {"bad-signature", ChainDefect::badSignature},
    {"wrong-root-hash", ChainDefect::wrongRootHash},
    {"expired-leaf", ChainDefect::expiredLeaf},
    {"foreign-root", ChainDefect::foreignRoot},
    {"leaf-is-authority", ChainDefect::leafIsAuthority},
    {"no-signing-usage", ChainDefect::noSigningUsage},
    {"truncated-leaf", ChainDefect::truncatedLeaf}};

/** A list of words; what stands there already if the member is absent. */
template <typename T, size_t n>
void readWords(Fields& fields, const char* key, std::vector<T>& list,
               const Word<T> (&words)[n])
{
    if (fields.find(key) == nullptr)
    {
        return;
    }
    list.clear();
    for (const auto& element : fields.array(key))
    {
        list.push_back(
            fields.pick(element, std::span<const Word<T>>(words), key));
    }
}

/** Longest value whose size fits a field of 16 bits with its header. */
constexpr size_t longestValue = 0xfff0;
/** Index 255 asks for all blocks, 0 for their number. */
constexpr size_t mostBlocks = 254;

Bytes readHex(Fields& fields, const char* key)
{
    Bytes bytes = fields.hex(key);
    if (bytes.size() > longestValue)
    {
        fields.fail(key, "is too long");
    }
    return bytes;
}

void readCapabilities(const nlohmann::json& json, const std::string& place,
                      DeviceConfig& config)
{
    Fields fields(json, place);
    config.certificates = fields.flag("certificates", config.certificates);
    config.challenge = fields.flag("challenge", config.challenge);
    config.chunking = fields.flag("chunking", config.chunking);
    config.measurements =
        fields.word("measurements", config.measurements, measurementWords);
    config.multiKey = fields.word("multiKey", config.multiKey, multiKeyWords);
    fields.done();
}

void readAlgorithms(const nlohmann::json& json, const std::string& place,
                    DeviceConfig& config)
{
    Fields fields(json, place);
    readWords(fields, "asymmetric", config.curves, curveWords);
    readWords(fields, "hash", config.hashes, hashWords);
    config.measurementHash = fields.word(
        "measurementHash", config.measurementHash, measurementHashWords);
    fields.done();
}

SlotConfig readSlot(const nlohmann::json& json, const std::string& place,
                    MultiKey multiKey)
{
    Fields fields(json, place);
    SlotConfig slot;
    slot.number =
        static_cast<uint8_t>(fields.number("slot", 0, 0, slotCount - 1));
    slot.intermediates =
        static_cast<unsigned>(fields.number("intermediates", 1, 0, 8));
    // Without several keys there is one, which all slots certify.
    uint64_t key = multiKey == MultiKey::none ? 1 : slot.number + 1U;
    slot.keyPairId =
        static_cast<uint8_t>(fields.number("keyPairId", key, 0, 0xff));
    slot.certInfo =
        static_cast<uint8_t>(fields.number("certInfo", slot.certInfo, 0, 0xff));
    slot.keyUsage = static_cast<uint16_t>(
        fields.number("keyUsage", slot.keyUsage, 0, 0xffff));
    slot.defect = fields.word("defect", slot.defect, defectWords);
    slot.leafFiller = fields.number("leafFiller", 0, 0, 60000);
    fields.done();
    return slot;
}

/**
 * The value of a block: given, to be hashed, or made up of a given size, which
 * also fills up a shorter given one.
 */
void readValue(Fields& fields, BlockConfig& block)
{
    Bytes given = readHex(fields, "value");
    Bytes hashed = readHex(fields, "digestOf");
    block.digestOfValue = !hashed.empty();
    block.value = block.digestOfValue ? hashed : given;
    size_t size = fields.number("size", block.value.size(), 0, longestValue);
    for (size_t i = block.value.size(); i < size; i++)
    {
        block.value.push_back(
            static_cast<uint8_t>(size_t{16} * block.index + i));
    }
}

BlockConfig readBlock(const nlohmann::json& json, const std::string& place)
{
    Fields fields(json, place);
    BlockConfig block;
    block.index = static_cast<uint8_t>(fields.number("index", 1, 1, 0xfe));
    block.type = static_cast<uint8_t>(fields.number("type", 0, 0, 0xff));
    readValue(fields, block);
    if (fields.find("claimedSize") != nullptr)
    {
        block.claimedSize =
            static_cast<uint16_t>(fields.number("claimedSize", 0, 0, 0xffff));
    }
    uint8_t kind = block.type & measurement::typeMask;
    block.trustedBase =
        fields.flag("trustedBase", kind == measurement::immutableRom ||
                                       kind == measurement::mutableFirmware);
    fields.done();
    return block;
}

void readSizes(Fields& fields, DeviceConfig& config)
{
    constexpr uint64_t most = std::numeric_limits<uint32_t>::max();
    config.dataTransferSize = static_cast<uint32_t>(
        fields.number("dataTransferSize", config.dataTransferSize, 0, most));
    // Only chunking makes a message longer than one transfer.
    uint32_t longest = config.chunking
                         ? std::max(config.dataTransferSize, uint32_t{4608})
                         : config.dataTransferSize;
    config.maxMessageSize = static_cast<uint32_t>(
        fields.number("maxMessageSize", longest, 0, most));
    config.transmitSize = static_cast<uint32_t>(fields.number(
        "transmitSize", config.dataTransferSize, minDataTransferSize, most));
}

void readLists(Fields& fields, DeviceConfig& config)
{
    if (fields.find("slots") != nullptr)
    {
        config.slots.clear();
    }
    for (const auto& json : fields.array("slots"))
    {
        config.slots.push_back(readSlot(
            json, fields.under("slots", config.slots.size()), config.multiKey));
    }
    if (fields.array("measurements").size() > mostBlocks)
    {
        fields.fail("measurements", "has more blocks than there are indices");
    }
    for (const auto& json : fields.array("measurements"))
    {
        config.blocks.push_back(readBlock(
            json, fields.under("measurements", config.blocks.size())));
    }
    for (const auto& json : fields.array("faults"))
    {
        config.faults.push_back(
            readFault(json, fields.under("faults", config.faults.size())));
    }
}

void readOpaque(Fields& fields, DeviceConfig& config)
{
    config.challengeOpaque = readHex(fields, "challengeOpaque");
    config.measurementOpaque = readHex(fields, "measurementOpaque");
}

} // namespace

DeviceConfig parseDeviceConfig(const nlohmann::json& json)
{
    DeviceConfig config;
    Fields fields(json, "device");
    readWords(fields, "versions", config.versions, versionWords);
    if (const auto* part = fields.find("capabilities"))
    {
        readCapabilities(*part, "device.capabilities", config);
    }
    if (const auto* part = fields.find("algorithms"))
    {
        readAlgorithms(*part, "device.algorithms", config);
    }
    readLists(fields, config);
    readSizes(fields, config);
    readOpaque(fields, config);
    config.ctExponent =
        static_cast<uint8_t>(fields.number("ctExponent", 0, 0, 31));
    if (fields.find("claimedBlocks") != nullptr)
    {
        config.claimedBlocks =
            static_cast<uint8_t>(fields.number("claimedBlocks", 0, 0, 0xff));
    }
    fields.done();
    return config;
}

} // namespace sim::spdm
