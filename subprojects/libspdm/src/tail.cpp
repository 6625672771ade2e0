// SPDX-License-Identifier: Apache-2.0
#include "tail.hpp"

#include "requests.hpp"

namespace spdm
{

namespace
{

size_t contextSize(const Context& context)
{
    return versionOf(context) >= SPDM_MESSAGE_VERSION_13 ? SPDM_REQ_CONTEXT_SIZE
                                                         : 0;
}

libspdm_return_t readOpaque(const Context& context, Reader& reader,
                            const TailRules& rules, Bytes& opaque)
{
    uint16_t size = reader.u16();
    if (!reader.ok())
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    bool hasFormat = (context.connection.algorithms.otherParams &
                      SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_MASK) !=
                     SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_NONE;
    bool formatLacks = rules.needsFormat && !hasFormat && size != 0 &&
                       versionOf(context) >= SPDM_MESSAGE_VERSION_12;
    if (size > SPDM_MAX_OPAQUE_DATA_SIZE || formatLacks)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    opaque = reader.take(size);
    if (!reader.ok())
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    return opaque.empty() || isWellFormedOpaqueData(context, opaque)
             ? LIBSPDM_STATUS_SUCCESS
             : LIBSPDM_STATUS_INVALID_MSG_FIELD;
}

libspdm_return_t handOver(Bytes opaque, const Extras& extras)
{
    if (extras.opaque == nullptr || extras.opaqueSize == nullptr)
    {
        return LIBSPDM_STATUS_SUCCESS;
    }
    if (opaque.size() >= *extras.opaqueSize)
    {
        return LIBSPDM_STATUS_BUFFER_TOO_SMALL;
    }
    if (!opaque.empty())
    {
        std::memcpy(extras.opaque, opaque.data(), opaque.size());
    }
    *extras.opaqueSize = opaque.size();
    return LIBSPDM_STATUS_SUCCESS;
}

} // namespace

void readNonce(Reader& reader, const Extras& extras)
{
    Bytes nonce = reader.take(SPDM_NONCE_SIZE);
    if (extras.responderNonce != nullptr && reader.ok())
    {
        std::memcpy(extras.responderNonce, nonce.data(), nonce.size());
    }
}

libspdm_return_t readTail(const Context& context, Reader& reader,
                          const TailRules& rules, const Extras& extras,
                          Bytes& signature, Bytes& requesterContext)
{
    Bytes opaque;
    libspdm_return_t status = readOpaque(context, reader, rules, opaque);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    requesterContext = reader.take(contextSize(context));
    signature = reader.take(rules.signatureSize);
    return reader.ok() ? handOver(opaque, extras)
                       : LIBSPDM_STATUS_INVALID_MSG_SIZE;
}

bool isContextReturned(const Context& context, Bytes request, Bytes returned)
{
    return equal(request.last(contextSize(context)), returned);
}

} // namespace spdm
