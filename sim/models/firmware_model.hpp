// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/model.hpp"

#include <chrono>
#include <string>
#include <vector>

namespace sim
{

/** "firmware": a service that updates its devices' firmware. */
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
