// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/devices.hpp"

#include "sim/spdm/bytes.hpp"
#include "test/scratch_dir.hpp"

#include <openssl/evp.h>

#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

namespace test
{

using sim::Json;

Bytes hex(const std::string& text)
{
    return sim::spdm::fromHex(text);
}

Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes whole;
    for (const Bytes& part : parts)
    {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

Bytes hashOf(const char* name, const Bytes& data)
{
    Bytes result(EVP_MAX_MD_SIZE);
    size_t size = 0;
    if (EVP_Q_digest(nullptr, name, nullptr, data.data(), data.size(),
                     result.data(), &size) != 1)
    {
        throw std::invalid_argument(name);
    }
    result.resize(size);
    return result;
}

Bytes readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes{std::istreambuf_iterator<char>(file), {}};
}

sim::spdm::KeyStore& keyStore()
{
    static ScratchDir folder;
    static sim::spdm::KeyStore store(folder.path());
    return store;
}

Bytes trustedRoot()
{
    return readFile(keyStore().roots() / "ecp384" / "ca.cert.der");
}

Device& deviceOf(const Json& config)
{
    static std::map<std::string, Device> devices;
    return devices
        .try_emplace(config.dump(), sim::spdm::parseDeviceConfig(config),
                     keyStore())
        .first->second;
}

namespace
{

Json slotsOf(uint8_t mask)
{
    Json slots = Json::array();
    for (unsigned slot = 0; slot < 8; ++slot)
    {
        if ((mask >> slot & 1) != 0)
        {
            slots.push_back({{"slot", slot}, {"keyPairId", 5}});
        }
    }
    return slots;
}

Json blocksOf(unsigned count, size_t size)
{
    constexpr std::string_view digits = "0123456789abcdef";
    Json blocks = Json::array();
    for (unsigned index = 1; index <= count; ++index)
    {
        std::string value;
        for (size_t i = 0; i < size; ++i)
        {
            value += {digits[index / 16], digits[index % 16]};
        }
        blocks.push_back({{"index", index}, {"type", 1}, {"value", value}});
    }
    return blocks;
}

} // namespace

Device& deviceOf(const Settings& settings)
{
    std::string newest = "1." + std::to_string(settings.version & 0x0F);
    Json config = {
        {"versions", Json::array({"1.0", newest})},
        {"capabilities",
         {{"chunking", settings.chunk != 0},
          {"measurements", settings.isSigning ? "signed" : "unsigned"},
          {"multiKey", settings.multiKey ? "negotiable" : "none"}}},
        {"slots", slotsOf(settings.slots)},
        {"measurements", blocksOf(settings.blocks, settings.valueSize)}};
    if (settings.chunk != 0)
    {
        config["dataTransferSize"] = settings.chunk;
    }
    return deviceOf(config);
}

} // namespace test
