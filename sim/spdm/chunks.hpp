// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/handlers.hpp"

#include <optional>

namespace sim::spdm
{

/** A response that the requester fetches piece by piece with CHUNK_GET. */
class LargeResponse
{
  public:
    /**
     * The response itself if it can be sent in one piece with the bytes around
     * it, else the ERROR that the requester gets for now.
     */
    Bytes admit(const Context& context, Bytes answer, size_t around = 0);

    /** CHUNK_RESPONSE with the next piece. */
    Bytes next(const Context& context, View request);

    void drop()
    {
        pending.clear();
    }

  private:
    Bytes keep(const Context& context, Bytes answer);
    Bytes piece(const Context& context);

    Bytes pending;
    uint8_t handle = 0;
    uint16_t sequence = 0;
    size_t sent = 0;
};

/** A request that the requester sends piece by piece with CHUNK_SEND. */
class LargeRequest
{
  public:
    /** Takes a piece; false if it does not fit what came before. */
    bool add(const Context& context, View request);

    /** The whole request, once, when its last piece has come. */
    std::optional<Bytes> complete();

    void drop()
    {
        expected = 0;
        parts.clear();
    }

  private:
    struct Piece
    {
        bool last = false;
        uint8_t handle = 0;
        uint16_t sequence = 0;
        uint32_t total = 0;
        View data;
    };

    [[nodiscard]] static std::optional<Piece> read(View request);
    bool begin(const Context& context, const Piece& piece);

    Bytes parts;
    /** Length of the whole; 0 while none is under way. */
    size_t expected = 0;
    uint8_t handle = 0;
    uint16_t sequence = 0;
};

/** Why the chunk request cannot be served at all, as ERROR; else empty. */
Bytes chunkRefusal(const Context& context, View request, size_t leastSize);

} // namespace sim::spdm
