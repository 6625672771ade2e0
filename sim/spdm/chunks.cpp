// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/chunks.hpp"

#include "sim/spdm/bytes.hpp"

#include <algorithm>

namespace sim::spdm
{

namespace
{

constexpr uint8_t lastChunk = 0x01;
constexpr size_t chunkGetSize = 6;
/** CHUNK_SEND and CHUNK_RESPONSE before the chunk; the first has a total. */
constexpr size_t chunkHeaderSize = 12;
constexpr size_t totalSize = 4;

/** Longest message that both sides can handle in one piece. */
size_t oneTransfer(const Context& context)
{
    size_t own = context.config.transmitSize;
    size_t requester = context.connection.requesterTransferSize;
    return requester == 0 ? own : std::min(own, requester);
}

/** These are never transferred in chunks. */
bool neverChunked(View answer)
{
    return answer[1] == response::error || answer[1] == response::version ||
           answer[1] == response::capabilities;
}

Bytes tooLarge(const Context& context, size_t size)
{
    Writer actual;
    actual.u32(static_cast<uint32_t>(size));
    return errorResponse(context, error::responseTooLarge, 0, actual.view());
}

} // namespace

Bytes LargeResponse::admit(const Context& context, Bytes answer, size_t around)
{
    size_t size = answer.size();
    bool old = context.connection.version < version::v12;
    if (old || neverChunked(answer) || size + around <= oneTransfer(context))
    {
        return answer;
    }
    bool fits = size <= context.connection.requesterMaxSize &&
                size <= context.config.maxMessageSize;
    if (!fits || !chunksAgreed(context))
    {
        return tooLarge(context, size);
    }
    return keep(context, std::move(answer));
}

Bytes LargeResponse::keep(const Context& context, Bytes answer)
{
    pending = std::move(answer);
    handle++;
    sequence = 0;
    sent = 0;
    return errorResponse(context, error::largeResponse, 0, View(&handle, 1));
}

Bytes LargeResponse::next(const Context& context, View request)
{
    if (pending.empty())
    {
        return errorResponse(context, error::unexpectedRequest);
    }
    Reader reader(request.subspan(3));
    if (reader.u8() != handle || reader.u16() != sequence)
    {
        return errorResponse(context, error::invalidRequest);
    }
    return piece(context);
}

Bytes LargeResponse::piece(const Context& context)
{
    size_t header = chunkHeaderSize + (sequence == 0 ? totalSize : 0);
    size_t room = oneTransfer(context) - header;
    size_t length = std::min(room, pending.size() - sent);
    bool last = sent + length == pending.size();
    Writer writer = message(context.connection.version, response::chunkResponse,
                            last ? lastChunk : 0, handle);
    writer.u16(sequence).u16(0).u32(static_cast<uint32_t>(length));
    if (sequence == 0)
    {
        writer.u32(static_cast<uint32_t>(pending.size()));
    }
    writer.bytes(View(pending).subspan(sent, length));
    sent += length;
    sequence++;
    if (last)
    {
        drop();
    }
    return writer.take();
}

std::optional<LargeRequest::Piece> LargeRequest::read(View request)
{
    Reader reader(request);
    reader.skip(2);
    Piece piece;
    piece.last = (reader.u8() & lastChunk) != 0;
    piece.handle = reader.u8();
    piece.sequence = reader.u16();
    reader.skip(2);
    uint32_t size = reader.u32();
    piece.total = piece.sequence == 0 ? reader.u32() : 0;
    piece.data = reader.take(size);
    return reader.failed() ? std::nullopt : std::optional(piece);
}

bool LargeRequest::begin(const Context& context, const Piece& piece)
{
    drop();
    if (piece.sequence != 0 || piece.last ||
        piece.total <= minDataTransferSize ||
        piece.total > context.config.maxMessageSize)
    {
        return false;
    }
    expected = piece.total;
    handle = piece.handle;
    sequence = 0;
    return true;
}

bool LargeRequest::add(const Context& context, View request)
{
    std::optional<Piece> piece = read(request);
    if (!piece || piece->data.empty())
    {
        return false;
    }
    if (expected == 0 || piece->sequence == 0)
    {
        if (!begin(context, *piece))
        {
            return false;
        }
    }
    size_t size = parts.size() + piece->data.size();
    if (piece->handle != handle || piece->sequence != sequence ||
        size > expected || piece->last != (size == expected))
    {
        return false;
    }
    append(parts, piece->data);
    sequence++;
    return true;
}

std::optional<Bytes> LargeRequest::complete()
{
    if (expected == 0 || parts.size() != expected)
    {
        return std::nullopt;
    }
    Bytes whole = std::move(parts);
    drop();
    return whole;
}

Bytes chunkRefusal(const Context& context, View request, size_t leastSize)
{
    const Connection& connection = context.connection;
    if (connection.stage < Stage::capabilities)
    {
        return errorResponse(context, error::unexpectedRequest);
    }
    if (request[0] != connection.version)
    {
        return errorResponse(context, error::versionMismatch);
    }
    if (!chunksAgreed(context))
    {
        return errorResponse(context, error::unsupportedRequest, request[1]);
    }
    if (request.size() < std::max(leastSize, chunkGetSize))
    {
        return errorResponse(context, error::invalidRequest);
    }
    return {};
}

} // namespace sim::spdm
