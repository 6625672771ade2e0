// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/chunks.hpp"
#include "sim/spdm/faults.hpp"

namespace sim::spdm
{

/**
 * A device that answers as an SPDM responder (DSP0274 1.0 to 1.3): version,
 * capabilities, algorithms, digests, certificates, challenge, measurements,
 * key pair info, messages in chunks, retries with RESPOND_IF_READY. It has no
 * sessions. It holds one conversation, which GET_VERSION begins anew.
 *
 * The requests may be anything; the worst that they get is an ERROR.
 */
class Device
{
  public:
    /** Makes the keys and certificates of the device's slots. */
    Device(DeviceConfig configured, KeyStore& store);

    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device() = default;

    /**
     * Answers one message. Request and answer begin with the MCTP message
     * type. Nothing if the device does not answer: another message type, or a
     * fault that says so. An answer may be empty, by a fault only.
     */
    std::optional<Bytes> handle(View payload);

    /** How long the device would have taken for the last answer. */
    [[nodiscard]] std::chrono::milliseconds delay() const
    {
        return lastDelay;
    }

  private:
    using Faults = std::vector<const Fault*>;

    /** A request whose answer was put off. */
    struct Postponed
    {
        Bytes request;
        uint8_t token = 0;
        Effects effects;
    };

    std::optional<Bytes> insteadOfAnswer(View request, const Faults& faults);
    Bytes process(View request, const Effects& effects);
    Bytes single(View request, const Effects& effects);
    Bytes postpone(View request, const Faults& faults);
    Bytes respondIfReady(View request);
    Bytes chunkGet(View request);
    Bytes chunkSend(View request);
    void forget(uint8_t code);
    void anticipateVersion(View request);
    Bytes injectedError(View request, const Fault& fault);
    Context context(const Effects& effects = {});

    DeviceConfig config;
    Identity identity;
    FaultSchedule schedule;
    Connection connection;
    LargeResponse largeResponse;
    LargeRequest largeRequest;
    std::optional<Postponed> postponed;
    uint8_t lastToken = 0;
    std::chrono::milliseconds lastDelay{};
};

} // namespace sim::spdm
