// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/config.hpp"

#include "sim/spdm/bytes.hpp"
#include "sim/spdm/fault_config.hpp"
#include "sim/spdm/words.hpp"

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

/** Longest value whose size fits a field of 16 bits with its header. */
constexpr size_t longestValue = 0xfff0;
/** Index 255 asks for all blocks, 0 for their number. */
constexpr size_t mostBlocks = 254;

Bytes readHex(const Node& node, const char* key)
{
    if (!node.has(key))
    {
        return {};
    }
    Bytes bytes = bytesOf(node.at(key));
    if (bytes.size() > longestValue)
    {
        node.at(key).fail("is too long");
    }
    return bytes;
}

/** A number that fits its type, from 0 unless told. */
template <typename T>
T number(const Node& node, const char* key, T absent,
         uint64_t most = std::numeric_limits<T>::max(), uint64_t least = 0)
{
    return static_cast<T>(node.number(key, absent, least, most));
}

void readCapabilities(const Node& node, DeviceConfig& config)
{
    node.allowOnly(
        {"certificates", "challenge", "chunking", "measurements", "multiKey"});
    config.certificates = node.flag("certificates", config.certificates);
    config.challenge = node.flag("challenge", config.challenge);
    config.chunking = node.flag("chunking", config.chunking);
    config.measurements =
        pick(node, "measurements", config.measurements, measurementWords);
    config.multiKey = pick(node, "multiKey", config.multiKey, multiKeyWords);
}

void readAlgorithms(const Node& node, DeviceConfig& config)
{
    node.allowOnly({"asymmetric", "hash", "measurementHash"});
    pickList(node, "asymmetric", config.curves, curveWords);
    pickList(node, "hash", config.hashes, hashWords);
    config.measurementHash = pick(node, "measurementHash",
                                  config.measurementHash, measurementHashWords);
}

SlotConfig readSlot(const Node& node, MultiKey multiKey)
{
    node.allowOnly({"slot", "intermediates", "keyPairId", "certInfo",
                    "keyUsage", "defect", "leafFiller"});
    SlotConfig slot;
    slot.number = number(node, "slot", slot.number, slotCount - 1);
    slot.intermediates = number(node, "intermediates", slot.intermediates, 8);
    // Without several keys there is one, which all slots certify.
    bool isShared = multiKey == MultiKey::none;
    slot.keyPairId = number(node, "keyPairId",
                            isShared ? slot.keyPairId
                                     : static_cast<uint8_t>(slot.number + 1));
    slot.certInfo = number(node, "certInfo", slot.certInfo);
    slot.keyUsage = number(node, "keyUsage", slot.keyUsage);
    slot.defect = pick(node, "defect", slot.defect, defectWords);
    slot.leafFiller = number(node, "leafFiller", slot.leafFiller, 60000);
    return slot;
}

/**
 * The value of a block: given, to be hashed, or made up of a given size, which
 * also fills up a shorter given one.
 */
void readValue(const Node& node, BlockConfig& block)
{
    Bytes given = readHex(node, "value");
    Bytes hashed = readHex(node, "digestOf");
    block.digestOfValue = !hashed.empty();
    block.value = block.digestOfValue ? hashed : given;
    size_t size = number(node, "size", block.value.size(), longestValue);
    for (size_t i = block.value.size(); i < size; i++)
    {
        block.value.push_back(
            static_cast<uint8_t>(size_t{16} * block.index + i));
    }
}

BlockConfig readBlock(const Node& node)
{
    node.allowOnly({"index", "type", "value", "digestOf", "size", "claimedSize",
                    "trustedBase"});
    BlockConfig block;
    block.index = number(node, "index", block.index, mostBlocks, 1);
    block.type = number(node, "type", block.type);
    readValue(node, block);
    if (node.has("claimedSize"))
    {
        block.claimedSize = number(node, "claimedSize", uint16_t{0});
    }
    uint8_t kind = block.type & measurement::typeMask;
    block.trustedBase =
        node.flag("trustedBase", kind == measurement::immutableRom ||
                                     kind == measurement::mutableFirmware);
    return block;
}

void readSizes(const Node& node, DeviceConfig& config)
{
    config.dataTransferSize =
        number(node, "dataTransferSize", config.dataTransferSize);
    // Only chunking makes a message longer than one transfer.
    uint32_t longest = config.chunking
                         ? std::max(config.dataTransferSize, uint32_t{4608})
                         : config.dataTransferSize;
    config.maxMessageSize = number(node, "maxMessageSize", longest);
    config.transmitSize =
        number(node, "transmitSize", config.dataTransferSize,
               std::numeric_limits<uint32_t>::max(), minDataTransferSize);
}

/** The items of a list, each read; none if the member is absent. */
template <typename T>
std::vector<T> readList(const Node& node, const char* key,
                        const std::function<T(const Node&)>& read)
{
    std::vector<T> list;
    if (auto member = node.find(key))
    {
        member->eachItem([&](const Node& item) { list.push_back(read(item)); });
    }
    return list;
}

void readLists(const Node& node, DeviceConfig& config)
{
    if (node.has("slots"))
    {
        config.slots = readList<SlotConfig>(
            node, "slots",
            [&](const Node& item) { return readSlot(item, config.multiKey); });
    }
    config.blocks = readList<BlockConfig>(node, "measurements", readBlock);
    if (config.blocks.size() > mostBlocks)
    {
        node.at("measurements").fail("has more blocks than there are indices");
    }
    config.faults = readList<Fault>(node, "faults", readFault);
}

} // namespace

DeviceConfig parseDeviceConfig(const Node& node)
{
    node.allowOnly({"versions", "capabilities", "algorithms", "slots",
                    "measurements", "claimedBlocks", "dataTransferSize",
                    "maxMessageSize", "transmitSize", "ctExponent",
                    "challengeOpaque", "measurementOpaque", "faults"});
    DeviceConfig config;
    pickList(node, "versions", config.versions, versionWords);
    if (auto part = node.find("capabilities"))
    {
        readCapabilities(*part, config);
    }
    if (auto part = node.find("algorithms"))
    {
        readAlgorithms(*part, config);
    }
    readLists(node, config);
    readSizes(node, config);
    config.challengeOpaque = readHex(node, "challengeOpaque");
    config.measurementOpaque = readHex(node, "measurementOpaque");
    config.ctExponent = number(node, "ctExponent", config.ctExponent, 31);
    if (node.has("claimedBlocks"))
    {
        config.claimedBlocks = number(node, "claimedBlocks", uint8_t{0});
    }
    return config;
}

DeviceConfig parseDeviceConfig(const Json& json)
{
    return parseDeviceConfig(Node(json, "device"));
}

} // namespace sim::spdm
