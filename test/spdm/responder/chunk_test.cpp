// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "test/spdm/responder/asking.hpp"
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

using sim::spdm::Reader;
using sim::spdm::Writer;

const char* const chunkerDevice = R"({"capabilities": {"chunking": true},
    "dataTransferSize": 100, "maxMessageSize": 4608,
    "measurements": [{"index": 1, "value": "aa"}]})";

/** Fetches a large response; each piece is of the size that was announced. */
static Bytes fetch(Peer& peer, uint8_t handle, size_t transfer)
{
    Bytes whole;
    uint32_t total = 1;
    for (uint16_t sequence = 0; whole.size() < total; sequence++)
    {
        Writer request;
        request.bytes(peer.header(0x86, 0, handle)).u16(sequence);
        Bytes answer = peer.ask(request.view());
        Reader reader(answer);
        reader.skip(2);
        bool last = reader.u8() == 1;
        EXPECT_EQ(answer[1], 0x06);
        EXPECT_EQ(reader.u8(), handle);
        EXPECT_EQ(reader.u16(), sequence);
        EXPECT_EQ(reader.u16(), 0);
        uint32_t size = reader.u32();
        total = sequence == 0 ? reader.u32() : total;
        EXPECT_EQ(reader.left(), size);
        EXPECT_EQ(last, whole.size() + size == total);
        EXPECT_TRUE(last || answer.size() == transfer);
        View piece = reader.take(size);
        if (piece.empty())
        {
            ADD_FAILURE() << "no progress";
            return whole;
        }
        whole.insert(whole.end(), piece.begin(), piece.end());
    }
    return whole;
}

class ChunkTest : public testing::TestWithParam<uint32_t>
{
};

TEST_P(ChunkTest, piecesFillTheTransfer)
{
    Peer peer(chunkerDevice);
    peer.connect(0x12);
    Bytes chain = peer.readChain(0, 40);
    peer.transferSize = GetParam();
    peer.connect(0x12);
    size_t transfer = std::min<size_t>(GetParam(), 100);
    EXPECT_EQ(peer.ask(hex("12820000 0000 ffff")), hex("127f0f00 01"));
    Bytes answer = fetch(peer, 1, transfer);
    ASSERT_GT(answer.size(), 8U);
    EXPECT_EQ(Bytes(answer.begin() + 8, answer.end()), chain);
    EXPECT_EQ(peer.challenge(0, 0), hex("127f0f00 02"));
    EXPECT_EQ(fetch(peer, 2, transfer).size(), 4U + 48 + 32 + 2 + 96);
}

TEST_P(ChunkTest, signedAnswersInPieces)
{
    sim::Json config = sim::Json::parse(chunkerDevice);
    config["transmitSize"] = GetParam();
    Asking asking(config.dump());
    EXPECT_EQ(asking.readChain(), 0U);
    EXPECT_EQ(asking.challenge(), 0U);
    EXPECT_EQ(asking.measure(1, true), 0U);
}

INSTANTIATE_TEST_SUITE_P(Transfers, ChunkTest,
                         testing::Values(42, 43, 64, 99, 100, 101, 4608));

TEST(Chunk, shortAnswersComeWhole)
{
    Peer peer(chunkerDevice);
    peer.connect(0x12);
    EXPECT_EQ(peer.getDigests().size(), 52U);
}

TEST(Chunk, getRefusals)
{
    Peer peer(chunkerDevice);
    peer.connect(0x12);
    EXPECT_EQ(peer.ask(hex("12860000 0000")), hex("127f0400"));
    peer.ask(hex("12820000 0000 ffff"));
    EXPECT_EQ(peer.ask(hex("12860002 0000")), hex("127f0100"));
    EXPECT_EQ(peer.ask(hex("12860001 0100")), hex("127f0100"));
    EXPECT_EQ(peer.ask(hex("12860001 00")), hex("127f0100"));
    EXPECT_EQ(peer.ask(hex("11860001 0000")), hex("127f4100"));
    EXPECT_EQ(peer.ask(hex("12860001 0000"))[1], 0x06);
    // Another request gives the rest up.
    peer.getDigests();
    EXPECT_EQ(peer.ask(hex("12860001 0100")), hex("127f0400"));
}

TEST(Chunk, withoutThemALargeAnswerIsTooLarge)
{
    Peer peer(R"({"dataTransferSize": 64})");
    peer.connect(0x12);
    Bytes answer = peer.challenge(0, 0);
    EXPECT_EQ(answer, hex("127f0d00 b6000000"));
    EXPECT_EQ(peer.ask(hex("12860001 0000")), hex("127f0786"));
}

TEST(Chunk, oldVersionsKnowNoSizes)
{
    Peer peer(chunkerDevice);
    peer.connect(0x11);
    EXPECT_EQ(peer.challenge(0, 0)[1], 0x03);
    EXPECT_EQ(peer.ask(hex("11860001 0000")), hex("117f0786"));
}

/** CHUNK_SEND of a piece; the first tells how long the whole is. */
static Bytes send(Peer& peer, uint16_t sequence, bool last, const Bytes& piece,
                  uint32_t total = 0)
{
    Writer request;
    request.bytes(peer.header(0x85, last ? 1 : 0, 0x33)).u16(sequence).u16(0);
    request.u32(static_cast<uint32_t>(piece.size()));
    if (sequence == 0)
    {
        request.u32(total);
    }
    request.bytes(piece);
    return peer.ask(request.view());
}

TEST(Chunk, requestInPieces)
{
    Peer peer(chunkerDevice);
    peer.connect(0x12);
    // GET_DIGESTS with bytes after it that count for nothing.
    Bytes whole = join({hex("12810000"), Bytes(60)});
    Bytes first(whole.begin(), whole.begin() + 40);
    Bytes second(whole.begin() + 40, whole.end());
    EXPECT_EQ(send(peer, 0, false, first, 64), hex("12050033 0000"));
    Bytes answer = send(peer, 1, true, second);
    EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 10),
              hex("12050033 0100 12010001"));
    EXPECT_EQ(answer.size(), 6U + 52);
}

TEST(Chunk, largeAnswerToARequestInPieces)
{
    Peer peer(chunkerDevice);
    peer.connect(0x12);
    Bytes challenge = join({hex("12830000"), Bytes(39)});
    EXPECT_EQ(send(peer, 0, false,
                   Bytes(challenge.begin(), challenge.begin() + 32), 43),
              hex("12050033 0000"));
    EXPECT_EQ(
        send(peer, 1, true, Bytes(challenge.begin() + 32, challenge.end())),
        hex("12050033 0100 127f0f00 01"));
    EXPECT_EQ(fetch(peer, 1, 100).size(), 4U + 48 + 32 + 2 + 96);
}

TEST(Chunk, sendRefusals)
{
    const Bytes refused = hex("12050133 0000 127f0100");
    Peer peer(chunkerDevice);
    peer.connect(0x12);
    Bytes piece(30);
    // A total that needs no pieces; one too long; last at once.
    EXPECT_EQ(send(peer, 0, false, piece, 42), refused);
    EXPECT_EQ(send(peer, 0, false, piece, 4609), refused);
    EXPECT_EQ(send(peer, 0, true, piece, 60), refused);
    EXPECT_EQ(send(peer, 0, false, {}, 60), refused);
    // The middle first; one left out; more than announced; too little.
    const Bytes refusedNext = hex("12050133 0200 127f0100");
    EXPECT_EQ(send(peer, 2, false, piece), refusedNext);
    send(peer, 0, false, piece, 60);
    EXPECT_EQ(send(peer, 2, false, piece), refusedNext);
    const Bytes refusedSecond = hex("12050133 0100 127f0100");
    send(peer, 0, false, piece, 60);
    EXPECT_EQ(send(peer, 1, true, Bytes(31)), refusedSecond);
    send(peer, 0, false, piece, 60);
    EXPECT_EQ(send(peer, 1, true, Bytes(29)), refusedSecond);
    // A size field past the end of the message.
    EXPECT_EQ(peer.ask(hex("12850033 0000 0000 ffffffff 3c000000 00")),
              refused);
}

TEST(Chunk, piecesHoldNoChunkRequests)
{
    Peer peer(chunkerDevice);
    peer.connect(0x12);
    Bytes whole = join({hex("12850033"), Bytes(60)});
    send(peer, 0, false, Bytes(whole.begin(), whole.begin() + 40), 64);
    EXPECT_EQ(send(peer, 1, true, Bytes(whole.begin() + 40, whole.end())),
              hex("12050033 0100 127f0785"));
}

TEST(Chunk, requestLongerThanAnnounced)
{
    Peer peer(R"({"dataTransferSize": 64})");
    peer.connect(0x12);
    EXPECT_EQ(peer.ask(join({hex("12810000"), Bytes(61)})), hex("127f0e00"));
}

} // namespace spdm_test
