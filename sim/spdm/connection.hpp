// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/crypto.hpp"

#include <optional>
#include <stdexcept>

namespace sim::spdm
{

/** How far the connection has come; each stage includes those before it. */
enum class Stage : uint8_t
{
    start,
    version,
    capabilities,
    negotiated,
};

/** What requester and responder agreed on with ALGORITHMS. */
struct Agreement
{
    std::optional<Curve> curve;
    std::optional<Hash> hash;
    bool measurements = false;
    bool opaqueData = true;
    /** Digests, certificates and signatures name a key per slot (1.3). */
    bool multiKey = false;

    /** For requests that are refused where none was agreed on. Throw
     *  std::logic_error. */
    [[nodiscard]] Curve curveInUse() const
    {
        return inUse(curve);
    }

    [[nodiscard]] Hash hashInUse() const
    {
        return inUse(hash);
    }

  private:
    template <typename Value>
    static Value inUse(const std::optional<Value>& agreed)
    {
        if (!agreed)
        {
            throw std::logic_error("not agreed on");
        }
        return *agreed;
    }
};

/**
 * The messages that signatures cover, named as DSP0274 does. A is VERSION to
 * ALGORITHMS, B the digests and certificates, M the measurements since the
 * last signature.
 */
class Transcript
{
  public:
    void addNegotiation(View request, View response);

    /** False, and nothing is added, if the transcript would get too long. */
    bool addCertificates(View request, View response);
    bool addMeasurement(View request, View response);

    void dropCertificates()
    {
        b.clear();
    }

    void dropMeasurements()
    {
        m.clear();
    }

    /** M1: what CHALLENGE_AUTH signs; c is the exchange without signature. */
    [[nodiscard]] Bytes challenge(View c) const;

    /** L1: what MEASUREMENTS signs. It has A from version 1.2 on. */
    [[nodiscard]] Bytes measurements(uint8_t spdmVersion) const;

  private:
    Bytes a;
    Bytes b;
    Bytes m;
};

/** One requester's conversation with the device, since its GET_VERSION. */
struct Connection
{
    Stage stage = Stage::start;
    /** Before GET_CAPABILITIES decides, errors say 1.0. */
    uint8_t version = version::v10;
    uint32_t requesterFlags = 0;
    /** Announced from version 1.2 on, else 0. */
    uint32_t requesterTransferSize = 0;
    uint32_t requesterMaxSize = 0;
    Agreement agreed;
    /** A CHALLENGE was answered. */
    bool authenticated = false;
    Transcript transcript;
};

} // namespace sim::spdm
