#pragma once

#include "test/spdm/devices.hpp"

#include <string>

// The requester's side as the tests play it: requests put together by hand,
// transcripts kept and signatures verified apart from the code under test.

namespace spdm_test
{

using sim::spdm::Bytes;
using sim::spdm::View;

using test::hashOf;
using test::hex;
using test::join;
using test::keyStore;
using test::readFile;
using test::trustedRoot;

/** Whether an ECDSA signature, r then s, is one of the message. */
bool signedBy(const Bytes& certificate, const char* hash, const Bytes& message,
              const Bytes& raw);

/** The DER certificates that follow each other in the bytes. */
std::vector<Bytes> splitCertificates(View chain);

/** Whether the chain leads to the root: its signatures, times and uses. */
bool chainVerifies(const std::vector<Bytes>& chain, const Bytes& root);

/** A requester that talks to a device of its own. */
class Peer
{
  public:
    /** A device of this JSON configuration. */
    explicit Peer(const std::string& json);

    /** One exchange, MCTP message type stripped; fails without an answer. */
    Bytes ask(const Bytes& request);

    /** VERSION, CAPABILITIES and ALGORITHMS, each of which must succeed. */
    void connect(uint8_t version);

    /** The exchange, noted for the next challenge. */
    Bytes askCertificates(const Bytes& request);

    /** The whole chain of a slot, read in blocks of this size. */
    Bytes readChain(uint8_t slot, uint16_t block = 1024);

    /** Notes the leaf of a chain that was read in some other way. */
    void readLeafFrom(uint8_t slot, const Bytes& chain);

    Bytes getDigests();

    /** CHALLENGE with a nonce; the answer is not checked. */
    Bytes challenge(uint8_t slot, uint8_t summary);

    /** GET_MEASUREMENTS; noted for the next signature. */
    Bytes measure(uint8_t operation, bool withSignature, uint8_t slot = 0);

    /** Whether the answer's signature fits the transcript so far. */
    bool challengeVerifies(uint8_t slot, const Bytes& answer);
    bool measurementVerifies(uint8_t slot, const Bytes& answer);

    [[nodiscard]] Bytes header(uint8_t code, uint8_t param1 = 0,
                               uint8_t param2 = 0) const;

    /** Eight bytes that 1.3 hands back, nothing before. */
    [[nodiscard]] Bytes context() const;

    sim::spdm::Device device;
    uint8_t version = 0x10;
    uint8_t otherParams = 0x02;
    uint32_t transferSize = 4608;
    /** Requester flags: certificates, challenge, chunks. */
    uint32_t flags = 0x00020006;
    Bytes a;
    Bytes b;
    Bytes m;
    Bytes lastRequest;

  private:
    void negotiate(const Bytes& request, uint8_t code);
    bool verifies(uint8_t slot, const std::string& purpose,
                  const Bytes& transcript, const Bytes& answer);

    std::map<uint8_t, Bytes> leaves;
};

} // namespace spdm_test
