// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/change_volume.hpp"

#include "io/common/src/Text.hpp"
#include "io/common/src/Wait.hpp"
#include "tool/guard.hpp"
#include "tool/json/print.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"
#include "tool/storage/request_file.hpp"
#include "tool/storage/service.hpp"
#include "tool/storage/update_wait.hpp"
#include "tool/storage/volume_params.hpp"

using nlohmann::json;

namespace tool
{

namespace
{

/** Several volumes travel under one key. */
void wrapArray(json& request)
{
    if (request.is_array())
    {
        request = json{{"Volumes", std::move(request)}};
    }
}

bool asksForSeveral(const json& request)
{
    const json* volumes = findMember(request, "Volumes");
    return request.is_array() || (volumes != nullptr && volumes->is_array());
}

io::bus::Answer<int32_t>
sendRequest(const DbusConnPtr& bus, const Options& options, const json& request)
{
    const std::string text = request.dump();
    const io::bus::Service service(options.service);
    const io::bus::Target target = service.at(storage_interface::volume);
    if (options.operation != "create")
    {
        return io::bus::ask<int32_t>(bus, target, "EditVolume", options.address,
                                     resourceIdOf(options), text);
    }
    const char* method =
        asksForSeveral(request) ? "CreateVolumes" : "CreateVolume";
    return io::bus::ask<int32_t>(bus, target, method, options.address, text);
}

/** @return the service's result; -1, with that line, for an error reply */
int32_t resultOf(const io::bus::Answer<int32_t>& answer, const char* failed)
{
    if (!answer)
    {
        out::line(failed);
    }
    return answer.value_or(-1);
}

/** @return the service's result; -1 when it has none to give */
int32_t changeVolume(const DbusConnPtr& bus, const Options& options,
                     const json& request)
{
    if (options.operation == "autocfg")
    {
        const io::bus::Service service(options.service);
        return autoConfigVolume(bus, service.name, service.path, options,
                                request);
    }
    return resultOf(sendRequest(bus, options, request),
                    "Dbus call create/edit volume failed");
}

} // namespace

int32_t autoConfigVolume(const DbusConnPtr& bus, const std::string& busName,
                         const std::string& path, const Options& options,
                         const json& request)
{
    const json* volume = findMember(request, "Volume");
    if (volume == nullptr)
    {
        return -1;
    }
    const auto text = [volume](const char* key)
    { return readText(*volume, key); };
    const auto number = [volume](const char* key)
    { return readOr(*volume, {key}, uint32_t{0}); };

    const std::string level = text("RAIDType");
    if (level.empty())
    {
        out::line("No RAIDType");
        return -1;
    }
    const uint32_t drives = number("DrvCnt");
    if (drives == 0)
    {
        out::line("No DrvCnt");
        return -1;
    }
    constexpr uint32_t reserved = 0;
    const io::bus::Target target{busName.c_str(), path.c_str(),
                                 storage_interface::volume};
    const auto answer = io::bus::ask<int32_t>(
        bus, target, "AutoConfig", options.address, level, text("Protocol"),
        text("MediaType"), drives, number("HotspareCnt"), reserved,
        text("DisplayName"), number("StripSizeBytes"),
        readOr(*volume, {"CapacityBytes"}, uint64_t{0}), text("ReadPolicy"),
        text("WritePolicy"));
    return resultOf(answer, "Dbus call AutoConfig failed");
}

bool createOrEditVolume(const DbusConnPtr& bus, const Options& options,
                        const json& request)
{
    if (options.address == 0 || options.service.empty())
    {
        out::line("Device address or service not specified");
        return false;
    }
    const auto change = [&]
    {
        io::bus::startAndWait(
            bus, [&] { return subscribeStorageUpdated(bus, options); },
            [&] { return changeVolume(bus, options, request) == 0; });
        out::line({"Failed to create/edit volume on device 0x",
                   io::text::hex(options.address)});
        return false;
    };
    return guarded("createOrEditVolume exception: ", change);
}

bool createOrEdit(const DbusConnPtr& bus, const Options& options)
{
    Options own = options;
    json request;
    const bool produced = options.params.empty()
                            ? readRequestFile(options.file, request)
                            : parseVolumeParams(own, request);
    if (!produced)
    {
        return false;
    }
    wrapArray(request);
    printJson(request, 0);
    return createOrEditVolume(bus, own, request);
}

} // namespace tool
