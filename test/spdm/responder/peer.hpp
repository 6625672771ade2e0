// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "test/spdm/devices.hpp"

// Requests put together by hand, for what no requester would send and for the
// bytes of an answer. Signatures are looked at by the requester in session.hpp.

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

/** A device of its own and the requests to it. */
class Peer
{
  public:
    /** A device of this JSON configuration. */
    explicit Peer(const std::string& json);

    /** One exchange, MCTP message type stripped; fails without an answer. */
    Bytes ask(const Bytes& request);

    /** VERSION, CAPABILITIES and ALGORITHMS, each of which must succeed. */
    void connect(uint8_t wanted);

    /** The whole chain of a slot, read in blocks of this size. */
    Bytes readChain(uint8_t slot, uint16_t block = 1024);

    Bytes getDigests();

    /** CHALLENGE with a nonce. */
    Bytes challenge(uint8_t slot, uint8_t summary);

    /** GET_MEASUREMENTS without a signature. */
    Bytes measure(uint8_t operation);

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
};

} // namespace spdm_test
