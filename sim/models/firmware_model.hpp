#pragma once

#include "sim/models/model.hpp"

#include <chrono>
#include <string>
#include <vector>

namespace sim
{

/** "firmware": a service that updates its devices' firmware. Settings:
 *
 *  - "Updatable", "Unupdatable": the devices, as GetUpdatableDevices lists them
 *    with "PartNumber", "Name", "Model", "Identifier", "FirmwareVersion",
 *    "UpdateMethod" and "ControllerAddress";
 *  - "duration_ms": how long an update takes (3000);
 *  - "progress_before_reply": true for a service that reports its first
 *    progress before it replies;
 *  - "fail_at": the percentage at which it fails, with "error_code" (1);
 *  - "finish_at": the percentage at which all devices are reported done;
 *  - "malformed": true to report nonsense before each progress.
 *
 *  An update is accepted when its file can be read and an updatable device has
 *  the part number. When it is done, the devices have the version that the
 *  file's name has between its last "_" and its extension. */
class FirmwareModel : public Model
{
  public:
    FirmwareModel(Bus& bus, Service& service, const Node& config);

  private:
    /** One moment of an update. */
    struct Step
    {
        uint64_t percent;
        uint64_t errorCode;
    };

    Reply update(const std::string& file, const std::string& part);
    size_t countDevices(const std::string& part) const;
    std::vector<Step> steps() const;
    Json record(const Step& step, size_t devices) const;
    Signal signal(std::string text, std::chrono::milliseconds delay) const;
    void addNonsense(Reply& reply, std::chrono::milliseconds delay) const;
    void install(const std::string& part, const std::string& version);

    Json devices;
    std::chrono::milliseconds duration;
    bool beforeReply;
    uint64_t failAt;
    uint64_t errorCode;
    uint64_t finishAt;
    bool malformed;
};

} // namespace sim
