#include "mctp_devices.hpp"

#include <exception>
#include <utility>

namespace sim
{

namespace
{

std::shared_ptr<spdm::KeyStore> keyStoreIn(const std::string& folder)
{
    static std::map<std::string, std::shared_ptr<spdm::KeyStore>> stores;
    std::shared_ptr<spdm::KeyStore>& store = stores[folder];
    if (store == nullptr)
    {
        store = std::make_shared<spdm::KeyStore>(folder);
    }
    return store;
}

std::unique_ptr<spdm::Device> makeDevice(const Node& config,
                                         spdm::KeyStore& keys)
{
    try
    {
        // Members in any order, unlike the scenario's.
        const auto json = nlohmann::json::parse(config.json().dump());
        return std::make_unique<spdm::Device>(spdm::parseDeviceConfig(json),
                                              keys);
    }
    catch (const std::exception& failure)
    {
        config.fail(failure.what());
    }
}

Reply noResponse()
{
    return Reply::error("xyz.openbmc_project.Common.Error.Timeout",
                        "The endpoint did not respond.");
}

spdm::Bytes bytesOf(const Json& numbers)
{
    spdm::Bytes bytes;
    bytes.reserve(numbers.size());
    for (const Json& number : numbers)
    {
        bytes.push_back(number.get<uint8_t>());
    }
    return bytes;
}

} // namespace

MctpDevices::MctpDevices(std::string roots) : rootsFolder(std::move(roots))
{
}

spdm::KeyStore& MctpDevices::keyStore()
{
    if (keys == nullptr)
    {
        keys = keyStoreIn(rootsFolder);
    }
    return *keys;
}

void MctpDevices::add(uint8_t eid, const Node& config)
{
    devices[eid] = makeDevice(config, keyStore());
}

Reply MctpDevices::exchange(const Call& call)
{
    const auto found = devices.find(call.args.at(0).get<uint8_t>());
    if (found == devices.end())
    {
        return noResponse();
    }
    spdm::Device& device = *found->second;
    const spdm::Bytes request = bytesOf(call.args.at(1));
    const std::optional<spdm::Bytes> response = device.handle(request);
    Reply reply = noResponse();
    if (response)
    {
        Json values = Json::array();
        values.push_back(*response);
        reply = Reply::of("ay", std::move(values));
    }
    reply.delay = device.delay();
    return reply;
}

} // namespace sim
