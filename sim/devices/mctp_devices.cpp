// SPDX-License-Identifier: Apache-2.0
#include "sim/devices/mctp_devices.hpp"

#include "sim/devices/device_program.hpp"
#include "sim/spdm/device.hpp"

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

/** A device in this process. */
class InnerDevice : public MctpDevice
{
  public:
    InnerDevice(spdm::DeviceConfig config, spdm::KeyStore& keys) :
        device(std::move(config), keys)
    {
    }

    Answer answer(const spdm::Bytes& request,
                  std::chrono::milliseconds /*patience*/) override
    {
        std::optional<spdm::Bytes> message = device.handle(request);
        return {std::move(message), device.delay()};
    }

  private:
    spdm::Device device;
};

std::unique_ptr<MctpDevice> innerDevice(const Node& config,
                                        spdm::KeyStore& keys)
{
    return std::make_unique<InnerDevice>(spdm::parseDeviceConfig(config), keys);
}

std::unique_ptr<MctpDevice> programOf(const Node& config)
{
    std::vector<std::string> words;
    config.eachItem([&](const Node& word) { words.push_back(word.text()); });
    if (words.empty())
    {
        config.fail("names no program");
    }
    return std::make_unique<DeviceProgram>(words);
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
    try
    {
        devices[eid] = config.json().is_array()
                         ? programOf(config)
                         : innerDevice(config, keyStore());
    }
    catch (const ScenarioError&)
    {
        throw;
    }
    catch (const std::exception& failure)
    {
        config.fail(failure.what());
    }
}

Reply MctpDevices::exchange(const Call& call)
{
    const auto found = devices.find(call.args.at(0).get<uint8_t>());
    if (found == devices.end())
    {
        return noResponse();
    }
    MctpDevice::Answer answer = found->second->answer(
        bytesOf(call.args.at(1)),
        std::chrono::milliseconds(call.args.at(2).get<uint16_t>()));
    Reply reply = noResponse();
    if (answer.message)
    {
        reply = Reply::one("ay", std::move(*answer.message));
    }
    reply.delay = answer.delay;
    return reply;
}

} // namespace sim
