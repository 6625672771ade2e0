// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/device.hpp"

#include "sim/spdm/bytes.hpp"

#include <algorithm>

namespace sim::spdm
{

namespace
{

/** The request's code; 0, which is none, if it is too short to have one. */
uint8_t codeOf(View request)
{
    return request.size() >= headerSize ? request[1] : 0;
}

bool has(const std::vector<const Fault*>& faults, FaultKind kind)
{
    return std::ranges::find(faults, kind, &Fault::kind) != faults.end();
}

Effects effectsOf(const std::vector<const Fault*>& faults)
{
    return {.wrongSignature = has(faults, FaultKind::wrongSignature),
            .wrongNonce = has(faults, FaultKind::wrongNonce),
            .wrongContext = has(faults, FaultKind::wrongContext)};
}

std::chrono::milliseconds delayOf(const std::vector<const Fault*>& faults)
{
    std::chrono::milliseconds sum{};
    for (const Fault* fault : faults)
    {
        sum += fault->delay;
    }
    return sum;
}

} // namespace

Device::Device(DeviceConfig configured, KeyStore& store) :
    config(std::move(configured)),
    identity(config, store),
    schedule(config.faults)
{
}

Context Device::context(const Effects& effects)
{
    return {config, identity, connection, effects};
}

std::optional<Bytes> Device::handle(View payload)
{
    lastDelay = {};
    if (payload.empty() || payload.front() != mctpTypeSpdm)
    {
        return std::nullopt;
    }
    View request = payload.subspan(1);
    anticipateVersion(request);
    Faults faults = schedule.next(codeOf(request));
    lastDelay = delayOf(faults);
    if (has(faults, FaultKind::dead))
    {
        return std::nullopt;
    }
    if (has(faults, FaultKind::empty))
    {
        return Bytes{};
    }
    std::optional<Bytes> built = insteadOfAnswer(request, faults);
    if (!built)
    {
        built = process(request, effectsOf(faults));
    }
    Bytes wrapped{mctpTypeSpdm};
    append(wrapped, *built);
    return damage(std::move(wrapped), faults);
}

std::optional<Bytes> Device::insteadOfAnswer(View request, const Faults& faults)
{
    for (const Fault* fault : faults)
    {
        switch (fault->kind)
        {
            case FaultKind::raw:
                return fault->answer;
            case FaultKind::error:
                return injectedError(request, *fault);
            case FaultKind::resynch:
                connection.stage = Stage::start;
                return errorResponse(context(), error::requestResynch);
            case FaultKind::notReady:
                return postpone(request, faults);
            default:
                break;
        }
    }
    return std::nullopt;
}

/** An ERROR to GET_CAPABILITIES has the version that the request proposes. */
void Device::anticipateVersion(View request)
{
    if (connection.stage == Stage::version &&
        codeOf(request) == request::getCapabilities &&
        std::ranges::count(config.versions, request[0]) > 0)
    {
        connection.version = request[0];
    }
}

/** As an error of the device's own, it ends a run of measurements. */
Bytes Device::injectedError(View request, const Fault& fault)
{
    if (codeOf(request) == request::getMeasurements &&
        fault.code != error::busy)
    {
        connection.transcript.dropMeasurements();
    }
    return errorResponse(context(), fault.code, fault.data);
}

Bytes Device::postpone(View request, const Faults& faults)
{
    // Ready after 2^1 microseconds; the requester may give up after twice
    // that time.
    constexpr uint8_t exponent = 1;
    constexpr uint8_t multiple = 2;
    if (codeOf(request) != request::respondIfReady || !postponed)
    {
        postponed = Postponed{Bytes(request.begin(), request.end()),
                              ++lastToken, effectsOf(faults)};
    }
    Writer extended;
    extended.u8(exponent).u8(codeOf(postponed->request));
    extended.u8(postponed->token).u8(multiple);
    return errorResponse(context(), error::responseNotReady, 0,
                         extended.view());
}

Bytes Device::respondIfReady(View request)
{
    if (connection.stage < Stage::capabilities)
    {
        return errorResponse(context(), error::unexpectedRequest);
    }
    if (request[0] != connection.version)
    {
        return errorResponse(context(), error::versionMismatch);
    }
    if (!postponed || request[2] != codeOf(postponed->request) ||
        request[3] != postponed->token)
    {
        return errorResponse(context(), error::invalidRequest);
    }
    Postponed ready = std::move(*postponed);
    postponed.reset();
    return single(ready.request, ready.effects);
}

/** Whatever else comes, what was put off or half transferred is given up. */
void Device::forget(uint8_t code)
{
    if (code != request::respondIfReady)
    {
        postponed.reset();
    }
    if (code != request::chunkGet)
    {
        largeResponse.drop();
    }
    if (code != request::chunkSend)
    {
        largeRequest.drop();
    }
}

Bytes Device::process(View request, const Effects& effects)
{
    uint8_t code = codeOf(request);
    forget(code);
    switch (code)
    {
        case request::respondIfReady:
            return respondIfReady(request);
        case request::chunkGet:
            return chunkGet(request);
        case request::chunkSend:
            return chunkSend(request);
        default:
            return single(request, effects);
    }
}

Bytes Device::single(View request, const Effects& effects)
{
    Context current = context(effects);
    if (connection.version >= version::v12 &&
        request.size() > config.maxMessageSize)
    {
        return errorResponse(current, error::requestTooLarge);
    }
    return largeResponse.admit(current, dispatch(current, request));
}

Bytes Device::chunkGet(View request)
{
    Context current = context();
    Bytes refusal = chunkRefusal(current, request, 0);
    return refusal.empty() ? largeResponse.next(current, request) : refusal;
}

Bytes Device::chunkSend(View request)
{
    constexpr uint8_t earlyError = 0x01;
    constexpr size_t ackHeaderSize = 6;
    constexpr size_t leastSize = 12;
    Context current = context();
    Bytes refusal = chunkRefusal(current, request, leastSize);
    if (!refusal.empty())
    {
        return refusal;
    }
    bool fits = largeRequest.add(current, request);
    Writer writer = message(connection.version, response::chunkSendAck,
                            fits ? 0 : earlyError, request[3]);
    writer.bytes(request.subspan(headerSize, 2));
    if (!fits)
    {
        largeRequest.drop();
        return writer.bytes(errorResponse(current, error::invalidRequest))
            .take();
    }
    if (std::optional<Bytes> whole = largeRequest.complete())
    {
        // dispatch() knows neither chunks nor retries, so nothing nests.
        Bytes inner = dispatch(current, *whole);
        writer.bytes(
            largeResponse.admit(current, std::move(inner), ackHeaderSize));
    }
    return writer.take();
}

} // namespace sim::spdm
