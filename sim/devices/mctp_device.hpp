// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/bytes.hpp"

#include <chrono>
#include <optional>

namespace sim
{

/** What answers SPDM behind an endpoint. */
class MctpDevice
{
  public:
    struct Answer
    {
        std::optional<spdm::Bytes> message; //!< nothing: no response came
        std::chrono::milliseconds delay{};  //!< until it would have come
    };

    MctpDevice() = default;
    virtual ~MctpDevice() = default;
    MctpDevice(const MctpDevice&) = delete;
    MctpDevice& operator=(const MctpDevice&) = delete;

    /** Answers a message, which begins with the MCTP message type.
     *
     *  patience: the time that the requester gives it. */
    virtual Answer answer(const spdm::Bytes& request,
                          std::chrono::milliseconds patience) = 0;
};

} // namespace sim
