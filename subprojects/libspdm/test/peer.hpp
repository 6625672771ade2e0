#pragma once

#include "certificates.hpp"

#include <cstdint>
#include <functional>
#include <vector>

namespace test
{

using Message = std::vector<uint8_t>;

/** What a peer can do. */
struct PeerSettings
{
    uint8_t version{0x12};
    /** Its chain is asked for by one slot or more. */
    uint8_t slots{1};
    bool multiKey{false};
    bool isSigning{true};
    /** Answers of more than this many bytes go out in chunks; 0 for never. */
    uint32_t chunk{0};
    uint8_t blocks{3};
    uint16_t valueSize{48};
    uint32_t baseAsym{0x80};
};

/**
 * A responder as DSP0274 has it, for the requests of this library, with
 * SHA-384. It keeps both transcripts itself and signs with the leaf's key.
 */
class Peer
{
  public:
    Peer(const PeerSettings& chosen, const Pki& identity);

    /** The answer to a request, both without the transport's byte. */
    Message answer(const Message& request);

  private:
    Message version() const;
    Message capabilities() const;
    Message algorithms(const Message& request) const;
    Message digests() const;
    Message certificate(const Message& request) const;
    Message challengeAuth(const Message& request);
    Message measurements(const Message& request);
    Message dispatch(const Message& request);
    Message inChunks(const Message& response);
    Message chunk(const Message& request);
    Message header(uint8_t code, uint8_t param1, uint8_t param2) const;
    Message sign(const Message& transcript, const std::string& purpose) const;
    void remember(const Message& request, const Message& response);

    PeerSettings settings;
    const Pki& pki;
    Message chain;
    Message negotiation;
    Message m1;
    Message l1;
    Message large;
    size_t largeSent{0};
};

/** SHA-384 of some bytes. */
Message hashOf(const Message& bytes);

} // namespace test
