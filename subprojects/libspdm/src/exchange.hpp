// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.hpp"

namespace spdm
{

/** What ERROR(ResponseNotReady) leads to. */
enum class NotReady
{
    /** It is not allowed here: an unexpected error. */
    refused,
    /** It is reported as NOT_READY_PEER. */
    reported,
    /** The peer's time is waited and RESPOND_IF_READY sent, once. */
    awaited,
};

/**
 * One request and its response, with the program's buffers acquired around
 * each and given back at the latest at the end.
 *
 *     Exchange exchange(context);
 *     status = exchange.open();
 *     exchange.writer().header(…);
 *     status = exchange.send();
 *     status = exchange.receive();
 *     status = exchange.expect(SPDM_DIGESTS, NotReady::awaited);
 *     … exchange.response() …
 */
class Exchange
{
  public:
    explicit Exchange(Context& connected);
    ~Exchange();
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    Exchange(Exchange&&) = delete;
    Exchange& operator=(Exchange&&) = delete;

    /** Acquires the sender's buffer. INVALID_STATE_LOCAL without a scratch
     * buffer; else what the acquire function returned. */
    libspdm_return_t open();

    /** Writes the request; after open(). */
    Writer& writer()
    {
        return requestWriter;
    }

    /** Fills the room for the request with zeros first. */
    void clear();

    /** Sends what was written and acquires the receiver's buffer. */
    libspdm_return_t send();

    /** Receives the response, in chunks where the peer asks for it. At least
     * a header's bytes on success. */
    libspdm_return_t receive();

    /** Checks version and code and deals with ERROR. */
    libspdm_return_t expect(uint8_t responseCode, NotReady notReady);

    /** send(), receive() and expect(). */
    libspdm_return_t run(uint8_t responseCode, NotReady notReady);

    /** The request as it was sent. */
    Bytes request() const;

    /** The response. It may be followed by bytes that did not arrive with
     * it. */
    Bytes response() const
    {
        return message;
    }

  private:
    libspdm_return_t transmit(Bytes out);
    libspdm_return_t acquireReceiver();
    libspdm_return_t fetchLarge();
    libspdm_return_t respondIfReady(uint8_t responseCode);
    libspdm_return_t askAgain(uint8_t token, uint8_t responseCode);
    void releaseSender();
    void releaseReceiver();

    Context& context;
    void* sender{nullptr};
    void* receiver{nullptr};
    Writer requestWriter{{}};
    std::span<uint8_t> message;
    /** Response that came with the acknowledgement of the last chunk. */
    Bytes carried;
};

/** A whole exchange: `write(exchange)` puts the request together, and
 * `accept(request, response)` has the last word. */
template <typename Write, typename Accept>
libspdm_return_t converse(Context& context, uint8_t responseCode,
                          NotReady notReady, const Write& write,
                          const Accept& accept)
{
    Exchange exchange(context);
    libspdm_return_t status = exchange.open();
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    write(exchange);
    status = exchange.run(responseCode, notReady);
    return LIBSPDM_STATUS_IS_ERROR(status)
             ? status
             : accept(exchange.request(), exchange.response());
}

} // namespace spdm
