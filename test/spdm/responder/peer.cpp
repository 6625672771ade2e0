// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/peer.hpp"

#include "sim/spdm/bytes.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

using sim::spdm::Reader;
using sim::spdm::Writer;

Peer::Peer(const std::string& json) :
    device(sim::spdm::parseDeviceConfig(sim::Json::parse(json)), keyStore())
{
}

Bytes Peer::ask(const Bytes& request)
{
    std::optional<Bytes> answer = device.handle(join({{0x05}, request}));
    if (!answer || answer->empty() || answer->front() != 0x05)
    {
        ADD_FAILURE() << "no SPDM answer";
        return Bytes(4);
    }
    return Bytes(answer->begin() + 1, answer->end());
}

Bytes Peer::header(uint8_t code, uint8_t param1, uint8_t param2) const
{
    return {version, code, param1, param2};
}

Bytes Peer::context() const
{
    return version >= 0x13 ? hex("0102030405060708") : Bytes{};
}

void Peer::connect(uint8_t wanted)
{
    version = 0x10;
    ASSERT_EQ(ask(header(0x84))[1], 0x04);
    version = wanted;
    Writer capabilities;
    capabilities.bytes(header(0xe1));
    if (version >= 0x11)
    {
        capabilities.u32(0).u32(version >= 0x12 ? flags : flags & 0xffff);
    }
    if (version >= 0x12)
    {
        capabilities.u32(transferSize).u32(65536);
    }
    ASSERT_EQ(ask(capabilities.view())[1], 0x61);
    Writer algorithms;
    algorithms.bytes(header(0xe3)).u16(32).u8(1);
    algorithms.u8(version >= 0x12 ? otherParams : 0).u32(0x90).u32(7);
    algorithms.zeros(16);
    ASSERT_EQ(ask(algorithms.view())[1], 0x63);
}

Bytes Peer::getDigests()
{
    return ask(header(0x81));
}

Bytes Peer::readChain(uint8_t slot, uint16_t block)
{
    Bytes chain;
    uint16_t rest = 1;
    while (rest > 0)
    {
        Writer request;
        request.bytes(header(0x82, slot));
        request.u16(static_cast<uint16_t>(chain.size())).u16(block);
        Bytes answer = ask(request.view());
        Reader reader(answer);
        reader.skip(4);
        View portion = reader.take(reader.u16() + 2U);
        if (answer[1] != 0x02 || portion.size() < 3 || reader.left() != 0)
        {
            ADD_FAILURE() << "no certificate portion";
            return {};
        }
        rest = Reader(portion).u16();
        sim::spdm::append(chain, portion.subspan(2));
    }
    return chain;
}

Bytes Peer::challenge(uint8_t slot, uint8_t summary)
{
    return ask(join({header(0x83, slot, summary), Bytes(32, 0x5a), context()}));
}

Bytes Peer::measure(uint8_t operation)
{
    return ask(join({header(0xe0, 0, operation), context()}));
}

} // namespace spdm_test
