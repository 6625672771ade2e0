// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

TEST(Version, listsTheConfiguredOnes)
{
    Peer peer(R"({"versions": ["1.0", "1.1", "1.3"]})");
    EXPECT_EQ(peer.ask(hex("10840000")), hex("10040000 00 03 0010 0011 0013"));
}

TEST(Version, isAskedInTheOldestVersionOnly)
{
    Peer peer("{}");
    EXPECT_EQ(peer.ask(hex("12840000")), hex("107f4100"));
}

TEST(Version, startsTheConversationAnew)
{
    Peer peer("{}");
    peer.connect(0x12);
    EXPECT_EQ(peer.getDigests()[1], 0x01);
    EXPECT_EQ(peer.ask(hex("10840000"))[1], 0x04);
    EXPECT_EQ(peer.ask(hex("12810000")), hex("107f0400"));
    peer.connect(0x11);
    EXPECT_EQ(peer.getDigests()[1], 0x01);
}

struct Capabilities
{
    const char* config;
    const char* request;
    const char* answer;
};

class CapabilitiesTest : public testing::TestWithParam<Capabilities>
{
};

TEST_P(CapabilitiesTest, answer)
{
    Peer peer(GetParam().config);
    peer.ask(hex("10840000"));
    EXPECT_EQ(peer.ask(hex(GetParam().request)), hex(GetParam().answer));
}

const char* const allVersions = R"({"versions": ["1.0", "1.1", "1.2", "1.3"],
    "capabilities": {"chunking": true, "multiKey": "negotiable"}})";
const char* const request13 = "13e10000 00 00 0000 c6620200 00120000 00120000";

INSTANTIATE_TEST_SUITE_P(
    Tables, CapabilitiesTest,
    testing::Values(
        Capabilities{allVersions, "10e10000", "10610000 00 00 0000 16000000"},
        Capabilities{allVersions, "11e10000 00 00 0000 c6620000",
                     "11610000 00 00 0000 16000000"},
        Capabilities{allVersions,
                     "12e10000 00 00 0000 c6620200 00120000 00120000",
                     "12610000 00 00 0000 16000200 00120000 00120000"},
        Capabilities{allVersions, request13,
                     "13610000 00 00 0000 16000218 00120000 00120000"},
        Capabilities{R"({"versions": ["1.3"], "ctExponent": 12,
                         "dataTransferSize": 256,
                         "capabilities": {"multiKey": "only",
                                          "measurements": "unsigned"}})",
                     request13,
                     "13610000 00 0c 0000 0e000014 00010000 00010000"},
        Capabilities{R"({"versions": ["1.3"],
                         "slots": [{"certInfo": 2}],
                         "capabilities": {"challenge": false}})",
                     request13,
                     "13610000 00 00 0000 12000400 00120000 00120000"},
        Capabilities{R"({"versions": ["1.3"],
                         "capabilities": {"challenge": false,
                                          "certificates": false,
                                          "measurements": "none"}})",
                     request13,
                     "13610000 00 00 0000 00000000 00120000 00120000"}));

INSTANTIATE_TEST_SUITE_P(
    Refusals, CapabilitiesTest,
    testing::Values(
        // A version that is not offered.
        Capabilities{"{}", request13, "107f4100"},
        // One byte short.
        Capabilities{allVersions, "11e10000 00 00 0000 c66200", "117f0100"},
        Capabilities{allVersions,
                     "12e10000 00 00 0000 c6620200 00120000 001200",
                     "127f0100"},
        // Transfers below 42 bytes; more than the longest message.
        Capabilities{allVersions,
                     "12e10000 00 00 0000 c6620200 29000000 00120000",
                     "127f0100"},
        Capabilities{allVersions,
                     "12e10000 00 00 0000 c6620200 01120000 00120000",
                     "127f0100"},
        // Longer messages than transfers without chunks.
        Capabilities{allVersions,
                     "12e10000 00 00 0000 c6620000 00110000 00120000",
                     "127f0100"},
        // Encryption without a way to a key; both kinds of identity; a
        // reserved pre-shared key flag; a time-out exponent out of range.
        Capabilities{allVersions, "11e10000 00 00 0000 46000000", "117f0100"},
        Capabilities{allVersions, "11e10000 00 00 0000 06000100", "117f0100"},
        Capabilities{allVersions, "11e10000 00 00 0000 c60a0000", "117f0100"},
        Capabilities{allVersions, "11e10000 00 20 0000 c6620000", "117f0100"}));

struct Algorithms
{
    uint8_t version;
    const char* config;
    const char* request;
    const char* answer;
};

class AlgorithmsTest : public testing::TestWithParam<Algorithms>
{
  protected:
    /** To where ALGORITHMS is due. */
    static void prepare(Peer& peer, uint8_t version)
    {
        peer.ask(hex("10840000"));
        peer.version = version;
        Bytes sizes = version >= 0x12 ? hex("00120000 00120000") : Bytes{};
        ASSERT_EQ(peer.ask(join(
                      {peer.header(0xe1), hex("00000000 c6620000"), sizes}))[1],
                  0x61);
    }
};

TEST_P(AlgorithmsTest, answer)
{
    Peer peer(GetParam().config);
    prepare(peer, GetParam().version);
    EXPECT_EQ(peer.ask(hex(GetParam().request)), hex(GetParam().answer));
}

// The four tables of a requester that could make sessions.
#define SESSION_TABLES "02201b00 03200600 04208000 05200100"
#define NO_SESSION_TABLES "02200000 03200000 04200000 05200000"
#define ZEROS12 "00000000 00000000 00000000"

INSTANTIATE_TEST_SUITE_P(
    Tables, AlgorithmsTest,
    testing::Values(
        Algorithms{0x11, "{}",
                   "11e30400 3000 01 00 80000000 03000000" ZEROS12
                   "00000000" SESSION_TABLES,
                   "11630400 3400 01 00 04000000 80000000 02000000" ZEROS12
                   "00000000" NO_SESSION_TABLES},
        // 1.2: the general opaque data format is taken if it is there.
        Algorithms{0x12, R"({"algorithms": {"measurementHash": "sha-256"}})",
                   "12e30000 2000 01 03 80000000 03000000" ZEROS12 "00000000",
                   "12630000 2400 01 02 02000000 80000000 02000000" ZEROS12
                   "00000000"},
        Algorithms{0x12, R"({"algorithms": {"measurementHash": "raw"}})",
                   "12e30000 2000 01 01 80000000 03000000" ZEROS12 "00000000",
                   "12630000 2400 01 01 01000000 80000000 02000000" ZEROS12
                   "00000000"},
        // The device's order decides.
        Algorithms{0x12,
                   R"({"algorithms": {"hash": ["sha-512", "sha-256"],
                       "asymmetric": ["ecdsa-p256", "ecdsa-p384"]}})",
                   "12e30000 2000 01 00 90000000 07000000" ZEROS12 "00000000",
                   "12630000 2400 01 00 04000000 10000000 04000000" ZEROS12
                   "00000000"},
        // No measurements wanted; none there.
        Algorithms{0x12, "{}",
                   "12e30000 2000 00 02 80000000 02000000" ZEROS12 "00000000",
                   "12630000 2400 00 02 00000000 80000000 02000000" ZEROS12
                   "00000000"},
        Algorithms{0x12, R"({"capabilities": {"measurements": "none"}})",
                   "12e30000 2000 01 02 80000000 02000000" ZEROS12 "00000000",
                   "12630000 2400 00 02 00000000 80000000 02000000" ZEROS12
                   "00000000"},
        // Extended algorithms are passed over; so is what follows.
        Algorithms{0x12, "{}",
                   "12e30100 2c00 01 02 80000000 02000000" ZEROS12
                   "01010000 11111111 22222222 02201b00 99",
                   "12630100 2800 01 02 04000000 80000000 02000000" ZEROS12
                   "00000000 02200000"},
        // A device that signs nothing needs no common algorithm.
        Algorithms{0x12,
                   R"({"capabilities": {"certificates": false,
                       "challenge": false, "measurements": "none"}})",
                   "12e30000 2000 01 02 00000000 00000000" ZEROS12 "00000000",
                   "12630000 2400 00 02 00000000 00000000 00000000" ZEROS12
                   "00000000"}));

const char* const negotiable =
    R"({"versions": ["1.3"], "capabilities": {"multiKey": "negotiable"}})";
const char* const onlyMany =
    R"({"versions": ["1.3"], "capabilities": {"multiKey": "only"}})";
const char* const single = R"({"versions": ["1.3"]})";
const char* const asksMany =
    "13e30000 2000 01 12 80000000 02000000" ZEROS12 "00000000";
const char* const asksSingle =
    "13e30000 2000 01 02 80000000 02000000" ZEROS12 "00000000";
const char* const agreed13 =
    "13630000 2400 01 02 04000000 80000000 02000000" ZEROS12 "00000000";

INSTANTIATE_TEST_SUITE_P(
    MultiKey, AlgorithmsTest,
    testing::Values(Algorithms{0x13, negotiable, asksMany, agreed13},
                    Algorithms{0x13, negotiable, asksSingle, agreed13},
                    Algorithms{0x13, onlyMany, asksMany, agreed13},
                    Algorithms{0x13, onlyMany, asksSingle, "137f0100"},
                    Algorithms{0x13, single, asksMany, "137f0100"},
                    Algorithms{0x13, single, asksSingle, agreed13}));

INSTANTIATE_TEST_SUITE_P(
    Refusals, AlgorithmsTest,
    testing::Values(
        // No common key type; no common hash.
        Algorithms{0x12, "{}",
                   "12e30000 2000 01 02 10000000 02000000" ZEROS12 "00000000",
                   "127f0100"},
        Algorithms{0x12, "{}",
                   "12e30000 2000 01 02 80000000 01000000" ZEROS12 "00000000",
                   "127f0100"},
        // The length field says one more, one less.
        Algorithms{0x12, "{}",
                   "12e30000 2100 01 02 80000000 02000000" ZEROS12 "00000000",
                   "127f0100"},
        Algorithms{0x12, "{}",
                   "12e30000 1f00 01 02 80000000 02000000" ZEROS12 "00000000",
                   "127f0100"},
        // More tables than bytes; tables out of order; an unknown table; a
        // table with three bytes of algorithms.
        Algorithms{0x12, "{}",
                   "12e30200 2400 01 02 80000000 02000000" ZEROS12
                   "00000000 02200000",
                   "127f0100"},
        Algorithms{0x12, "{}",
                   "12e30200 2800 01 02 80000000 02000000" ZEROS12
                   "00000000 03200000 02200000",
                   "127f0100"},
        Algorithms{0x12, "{}",
                   "12e30100 2400 01 02 80000000 02000000" ZEROS12
                   "00000000 06200000",
                   "127f0100"},
        Algorithms{0x12, "{}",
                   "12e30100 2400 01 02 80000000 02000000" ZEROS12
                   "00000000 02300000",
                   "127f0100"},
        // 255 and 255 extended algorithms in 32 bytes.
        Algorithms{0x12, "{}",
                   "12e30000 2000 01 02 80000000 02000000" ZEROS12 "ffff0000",
                   "127f0100"}));

struct OutOfOrder
{
    const char* request;
    const char* answer;
};

class OrderTest : public testing::TestWithParam<OutOfOrder>
{
};

TEST_P(OrderTest, firstOfAll)
{
    Peer peer("{}");
    EXPECT_EQ(peer.ask(hex(GetParam().request)), hex(GetParam().answer));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, OrderTest,
    testing::Values(
        OutOfOrder{"12e10000", "107f0400"}, OutOfOrder{"12e30000", "107f0400"},
        OutOfOrder{"12810000", "107f0400"}, OutOfOrder{"12820000", "107f0400"},
        OutOfOrder{"12830000", "107f0400"}, OutOfOrder{"12e00000", "107f0400"},
        OutOfOrder{"12860000 0000", "107f0400"},
        OutOfOrder{"12850000 0000", "107f0400"},
        OutOfOrder{"12ff0000", "107f0400"},
        // Vendor's own, sessions, a response, half a header.
        OutOfOrder{"12fe0000", "107f07fe"}, OutOfOrder{"12e40000", "107f07e4"},
        OutOfOrder{"12040000", "107f0704"}, OutOfOrder{"1284", "107f0100"},
        OutOfOrder{"", "107f0100"}));

TEST(Order, negotiationDoesNotRepeat)
{
    Peer peer("{}");
    peer.connect(0x12);
    EXPECT_EQ(peer.ask(peer.header(0xe1)), hex("127f0400"));
    EXPECT_EQ(peer.ask(peer.header(0xe3)), hex("127f0400"));
}

TEST(Order, anotherVersionThanNegotiated)
{
    Peer peer("{}");
    peer.connect(0x12);
    EXPECT_EQ(peer.ask(hex("11810000")), hex("127f4100"));
    EXPECT_EQ(peer.ask(hex("13810000")), hex("127f4100"));
}

TEST(Order, capabilityThatIsNotThere)
{
    Peer peer(R"({"capabilities": {"certificates": false, "challenge": false,
                  "measurements": "none"}})");
    peer.connect(0x12);
    for (uint8_t code : {0x81, 0x82, 0x83, 0xe0, 0xfc, 0x85, 0x86})
    {
        EXPECT_EQ(peer.ask(peer.header(code)), Bytes({0x12, 0x7f, 7, code}));
    }
}

TEST(Mctp, otherMessageTypesGetNoAnswer)
{
    Peer peer("{}");
    EXPECT_EQ(peer.device.handle({}), std::nullopt);
    EXPECT_EQ(peer.device.handle(hex("0610840000")), std::nullopt);
    EXPECT_EQ(peer.device.handle(hex("8510840000")), std::nullopt);
}

} // namespace spdm_test
