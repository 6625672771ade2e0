// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

#include <algorithm>
#include <array>

namespace sim::spdm
{

namespace
{

bool always(const DeviceConfig&)
{
    return true;
}

bool hasCertificates(const DeviceConfig& config)
{
    return config.certificates;
}

bool hasChallenge(const DeviceConfig& config)
{
    return config.challenge;
}

bool hasMeasurements(const DeviceConfig& config)
{
    return config.measurements != MeasurementSupport::none;
}

bool hasKeyPairs(const DeviceConfig& config)
{
    return config.multiKey != MultiKey::none;
}

struct Entry
{
    uint8_t code;
    Bytes (*handler)(Context&, View);
    /** The connection must have come so far. */
    Stage stage;
    bool (*capable)(const DeviceConfig&);
    uint8_t since;
};

constexpr std::array table{
    Entry{request::getVersion, getVersion, Stage::start, always, version::v10},
    Entry{request::getCapabilities, getCapabilities, Stage::version, always,
          version::v10},
    Entry{request::negotiateAlgorithms, negotiateAlgorithms,
          Stage::capabilities, always, version::v10},
    Entry{request::getDigests, getDigests, Stage::negotiated, hasCertificates,
          version::v10},
    Entry{request::getCertificate, getCertificate, Stage::negotiated,
          hasCertificates, version::v10},
    Entry{request::challenge, challenge, Stage::negotiated, hasChallenge,
          version::v10},
    Entry{request::getMeasurements, getMeasurements, Stage::negotiated,
          hasMeasurements, version::v10},
    Entry{request::getKeyPairInfo, getKeyPairInfo, Stage::negotiated,
          hasKeyPairs, version::v13},
};

/** Negotiation goes through its stages once; what follows may repeat. */
bool inOrder(const Entry& entry, Stage stage)
{
    if (entry.stage == Stage::version || entry.stage == Stage::capabilities)
    {
        return stage == entry.stage;
    }
    return stage >= entry.stage;
}

bool versionFits(const Context& context, const Entry& entry, uint8_t version)
{
    if (entry.code == request::getVersion)
    {
        return version == version::v10;
    }
    if (entry.code == request::getCapabilities)
    {
        return std::ranges::count(context.config.versions, version) > 0;
    }
    return version == context.connection.version;
}

/** 0, or the code of the error that the request deserves. */
uint8_t refusal(const Context& context, const Entry& entry, uint8_t version)
{
    if (!inOrder(entry, context.connection.stage))
    {
        return error::unexpectedRequest;
    }
    if (!versionFits(context, entry, version))
    {
        return error::versionMismatch;
    }
    if (!entry.capable(context.config) || version < entry.since)
    {
        return error::unsupportedRequest;
    }
    return 0;
}

} // namespace

Bytes errorResponse(const Context& context, uint8_t code, uint8_t data,
                    View extended)
{
    return message(context.connection.version, response::error, code, data)
        .bytes(extended)
        .take();
}

Bytes dispatch(Context& context, View request)
{
    if (request.size() < headerSize)
    {
        return errorResponse(context, error::invalidRequest);
    }
    const auto* entry = std::ranges::find(table, request[1], &Entry::code);
    if (entry == table.end())
    {
        return errorResponse(context, error::unsupportedRequest, request[1]);
    }
    if (uint8_t code = refusal(context, *entry, request[0]))
    {
        uint8_t data = code == error::unsupportedRequest ? request[1] : 0;
        return errorResponse(context, code, data);
    }
    return entry->handler(context, request);
}

} // namespace sim::spdm
