// SPDX-License-Identifier: Apache-2.0
#include "sim/models/firmware_model.hpp"

#include "sim/bus/bus.hpp"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace sim
{

namespace
{

using std::chrono::milliseconds;

constexpr const char* updater = "com.mervax.Firmware.Device.Updater";
/** Percent between two reports. */
constexpr uint64_t stride = 5;
/** More than any percentage: never. */
constexpr uint64_t never = 1000;

/** A record whose percentage is none. */
std::string recordWith(const Json& progress)
{
    return Json{{"ErrorCode", 0},
                {"Progress", progress},
                {"CompletedDeviceCount", 1},
                {"TotalDeviceCount", 2},
                {"ElapsedSeconds", 0},
                {"EstimatedRemainingSeconds", 0}}
        .dump();
}

/** What a reader of progress records must survive. */
std::vector<std::string> nonsense()
{
    return {"", "{", "7", R"({"ErrorCode":0})", recordWith("100")};
}

std::string versionOf(const std::string& file)
{
    size_t from = file.rfind('_');
    from = from == std::string::npos ? file.rfind('/') : from;
    size_t to = file.rfind('.');
    bool extension = to != std::string::npos && to > from;
    return file.substr(from + 1, extension ? to - from - 1 : to);
}

} // namespace

FirmwareModel::FirmwareModel(Bus& busIn, Service& serviceIn,
                             const Node& config) :
    Model(busIn, serviceIn, config),
    duration(config.number("duration_ms", 3000)),
    beforeReply(config.flag("progress_before_reply", false)),
    failAt(config.number("fail_at", never)),
    errorCode(config.number("error_code", 1)),
    finishAt(config.number("finish_at", never)),
    malformed(config.flag("malformed", false))
{
    config.allowOnly({"model", "path", "Updatable", "Unupdatable",
                      "duration_ms", "progress_before_reply", "fail_at",
                      "error_code", "finish_at", "malformed"});
    for (const char* group : {"Updatable", "Unupdatable"})
    {
        auto list = config.find(group);
        devices[group] = list ? list->json() : Json::array();
    }
    method(updater, "GetUpdatableDevices", "",
           [this](const Call&) { return Reply::json(devices); });
    method(updater, "UpdateDevices", "sssas",
           [this](const Call& call)
           {
               return update(call.args[1].get<std::string>(),
                             call.args[2].get<std::string>());
           });
}

size_t FirmwareModel::countDevices(const std::string& part) const
{
    const Json& list = devices["Updatable"];
    return static_cast<size_t>(
        std::count_if(list.begin(), list.end(),
                      [&](const Json& device)
                      { return device.value("PartNumber", "") == part; }));
}

std::vector<FirmwareModel::Step> FirmwareModel::steps() const
{
    std::vector<Step> result;
    for (uint64_t percent = 0; percent <= 100; percent += stride)
    {
        bool fails = percent >= failAt;
        result.push_back({percent, fails ? errorCode : 0});
        if (fails || percent >= finishAt)
        {
            break;
        }
    }
    return result;
}

Json FirmwareModel::record(const Step& step, size_t total) const
{
    auto milliseconds = static_cast<uint64_t>(duration.count());
    uint64_t elapsed = milliseconds * step.percent / 100;
    uint64_t done =
        step.percent >= finishAt ? total : total * step.percent / 100;
    return {
        {"ErrorCode", step.errorCode},
        {"Progress", step.percent},
        {"CompletedDeviceCount", done},
        {"TotalDeviceCount", total},
        {"ElapsedSeconds", elapsed / 1000},
        {"EstimatedRemainingSeconds", (milliseconds - elapsed + 999) / 1000}};
}

Signal FirmwareModel::signal(std::string text, milliseconds delay) const
{
    Signal signal{.service = "",
                  .path = path(),
                  .interface = updater,
                  .member = "DeviceUpdateStatusChanged",
                  .signature = "s",
                  .delay = delay};
    signal.values.push_back(std::move(text));
    return signal;
}

void FirmwareModel::addNonsense(Reply& reply, milliseconds delay) const
{
    if (!malformed)
    {
        return;
    }
    for (const std::string& text : nonsense())
    {
        reply.after.push_back(signal(text, delay));
    }
}

Reply FirmwareModel::update(const std::string& file, const std::string& part)
{
    size_t total = countDevices(part);
    if (total == 0 || access(file.c_str(), R_OK) != 0)
    {
        return Reply::one("b", false);
    }
    Reply reply = Reply::one("b", true);
    for (const Step& step : steps())
    {
        milliseconds delay = duration * static_cast<int>(step.percent) / 100;
        addNonsense(reply, delay);
        bool first = beforeReply && step.percent == 0;
        (first ? reply.before : reply.after)
            .push_back(signal(record(step, total).dump(), delay));
    }
    if (failAt == never)
    {
        bus().loop().after(duration, [this, part, version = versionOf(file)]
                           { install(part, version); });
    }
    return reply;
}

void FirmwareModel::install(const std::string& part, const std::string& version)
{
    for (Json& device : devices["Updatable"])
    {
        if (device.value("PartNumber", "") == part)
        {
            device["FirmwareVersion"] = version;
        }
    }
}

} // namespace sim
