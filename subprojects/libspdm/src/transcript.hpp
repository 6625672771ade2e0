// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "crypto.hpp"

/** The running hashes of what both sides said, which signatures cover. */
namespace spdm
{

/**
 * Hash over messages that is started with the first of them. It is started
 * from the messages of the negotiation where the signature covers them too.
 */
class Transcript
{
  public:
    /** Adds a message; base is hashed first if this is the first one. */
    bool add(uint32_t baseHash, Bytes base, Bytes message);

    /** Ends the transcript. Bytes written to hash, or 0 on failure and if
     * nothing was added. */
    size_t finish(Hash& hash);

    void reset()
    {
        digest.reset();
    }

  private:
    DigestPtr digest;
};

/** Messages of VERSION, CAPABILITIES and ALGORITHMS, kept as they were. */
class NegotiationLog
{
  public:
    /** False if it is full, which an honest negotiation never reaches. */
    bool add(Bytes message);

    void reset()
    {
        used = 0;
    }

    Bytes messages() const
    {
        return Bytes(buffer).first(used);
    }

  private:
    /** Requests of 4, 20 and 48 bytes, responses of 16, 20 and 52. */
    std::array<uint8_t, 210> buffer{};
    size_t used{0};
};

} // namespace spdm
