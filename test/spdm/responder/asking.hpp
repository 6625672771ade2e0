// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "test/spdm/devices.hpp"
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

/** A device of its own and a requester that has connected to it. The device's
 *  "versions" are left at the one that is wanted. */
class Asking : private sim::spdm::Device, public test::Session
{
  public:
    explicit Asking(const std::string& json, uint8_t version = 0x12,
                    test::Fault change = {}, test::Use how = {}) :
        Device(parse(json, version), test::keyStore()),
        Session(static_cast<Device&>(*this), std::move(change), how)
    {
        EXPECT_EQ(connect(), 0U);
    }

    /** Asks the device past the requester; both without the message type. */
    sim::spdm::Bytes ask(const sim::spdm::Bytes& request)
    {
        auto answer = handle(test::join({{0x05}, request}));
        return {answer.value().begin() + 1, answer.value().end()};
    }

  private:
    static sim::spdm::DeviceConfig parse(const std::string& json,
                                         uint8_t version)
    {
        sim::Json config = sim::Json::parse(json);
        config["versions"] =
            sim::Json::array({"1." + std::to_string(version & 0x0F)});
        return sim::spdm::parseDeviceConfig(config);
    }
};

} // namespace spdm_test
