// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Measurements.hpp"
#include "test/io/spdm/spdm_fixture.hpp"

#include <algorithm>

using mctp::spdm::SpdmLib;

namespace
{

class Flow : public SpdmTest
{
  protected:
    /** A record with one block whose value claims a size. */
    static std::vector<uint8_t> record(uint8_t type, uint16_t claimed,
                                       uint8_t fill, size_t held)
    {
        std::vector<uint8_t> bytes{1,
                                   1,
                                   0,
                                   0,
                                   type,
                                   static_cast<uint8_t>(claimed),
                                   static_cast<uint8_t>(claimed >> 8)};
        bytes.resize(bytes.size() + held, fill);
        return bytes;
    }

    /** Attests the device, which ends with this status and last record. */
    void expectEnd(libspdm_return_t status, const std::string& record)
    {
        Lines lines;
        EXPECT_EQ(attest(lines), status);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), record);
    }

    static bool called(const std::string& call)
    {
        return std::find(scripted.calls.begin(), scripted.calls.end(), call) !=
               scripted.calls.end();
    }

    static std::string hex(size_t bytes, const std::string& digits)
    {
        std::string text;
        for (size_t i = 0; i < bytes; ++i)
        {
            text += digits;
        }
        return text;
    }
};

constexpr const char* responder12 =
    "<6> Responder version 1.2, capabilities 0x16, asym algo 0x80, hash algo "
    "0x2, measurement hash algo 0x4";
constexpr const char* firstBlock =
    "<6>     measurement block 1, Digest of 1(MutableFirmware), 2 bytes. abab";
constexpr const char* succeeded = "<6> authenticateTarget succeeded";

TEST_F(Flow, everythingInOrder)
{
    negotiate(0x1200);
    scripted.blocks = 1;
    scripted.records[1] = record(1, 2, 0xAB, 2);
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    EXPECT_EQ(lines, (Lines{responder12, "<6> Certificate slot bitmask: 0x1",
                            "<6>   Get cert-chain from slot 0",
                            "<6>   slot 0 cert chain size 1000",
                            "<6>   Challenge based on slot 0",
                            "<6>   The responder has 1 measurement blocks",
                            firstBlock, succeeded}));
    EXPECT_EQ(scripted.calls,
              (Lines{"init_connection 0", "digest", "certificate 0",
                     "room 4096", "challenge 0", "summary 255", "nonce 0",
                     "measure 0 attributes 0 slot 0",
                     "measure 1 attributes 1 slot 0"}));
    // The requester's flags, then what was negotiated.
    using Items = std::vector<std::array<uint64_t, 3>>;
    EXPECT_EQ(scripted.reads, (Items{{2, 0, 4},
                                     {0, 1, 2},
                                     {2, 1, 4},
                                     {10, 1, 4},
                                     {11, 1, 4},
                                     {18, 1, 4},
                                     {9, 1, 4}}));
}

TEST_F(Flow, anEmptySlotMaskIsSuccess)
{
    negotiate(0x1200);
    scripted.slotMask = 0;
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    EXPECT_EQ(lines, (Lines{responder12, "<6> Certificate slot bitmask: 0x0",
                            succeeded}));
}

TEST_F(Flow, anAddressThatNoTableHas)
{
    negotiate(0x1200);
    libspdm_return_t status = 0;
    EXPECT_EQ(journalOf([&] { status = SpdmLib::authenticateTarget(1, ""); }),
              Lines{});
    EXPECT_EQ(status, 0x80010001U);
    EXPECT_EQ(scripted.calls, Lines{});
}

TEST_F(Flow, aFailedConnectionEndsTheLibrary)
{
    negotiate(0x1200);
    scripted.initConnection = 0x80010002;
    Lines lines;
    EXPECT_EQ(attest(lines), 0x80010002U);
    EXPECT_EQ(lines, (Lines{"<3> [ERR] libspdm_init_connection failed. rc = "
                            "0x80010002",
                            "<6> SPDM Lib uninitialized"}));
    EXPECT_TRUE(called("deinit_context"));
    EXPECT_EQ(attest(lines), 0x80010001U);
}

TEST_F(Flow, aWarningOfTheConnectionIsNoFailure)
{
    negotiate(0x1200);
    scripted.initConnection = 0x40010014;
    expectEnd(0, succeeded);
}

TEST_F(Flow, aConnectionThatIsNotNegotiated)
{
    negotiate(0x1200);
    scripted.peers[{LIBSPDM_DATA_CONNECTION_STATE, 0}] =
        LIBSPDM_CONNECTION_STATE_AFTER_CAPABILITIES;
    Lines lines;
    EXPECT_EQ(attest(lines), 0x80010007U);
    EXPECT_EQ(lines, Lines{"<3> [ERR] Failed to establish connection. state = "
                           "2"});
    scripted.peers.clear();
    EXPECT_EQ(attest(lines), 0x80010007U);
    EXPECT_EQ(lines, Lines{"<3> [ERR] Failed to establish connection. state = "
                           "0"});
}

TEST_F(Flow, whatDecidesMustBeKnown)
{
    for (const libspdm_data_type_t item :
         {LIBSPDM_DATA_SPDM_VERSION, LIBSPDM_DATA_CAPABILITY_FLAGS,
          LIBSPDM_DATA_BASE_ASYM_ALGO, LIBSPDM_DATA_BASE_HASH_ALGO})
    {
        negotiate(0x1200);
        scripted.peers.erase({item, 0});
        expectEnd(0x80010007U, "<3> [ERR] Failed to establish connection. "
                               "state = 0");
        EXPECT_EQ(scripted.calls, Lines{"init_connection 0"});
    }
}

TEST_F(Flow, failedDigests)
{
    negotiate(0x1200);
    scripted.digest = 0x8001000A;
    Lines lines;
    EXPECT_EQ(attest(lines), 0x8001000AU);
    EXPECT_EQ(lines, (Lines{responder12,
                            "<3> [ERR] Failed to get responder digest. rc = "
                            "0x8001000a"}));
}

TEST_F(Flow, aFailedCertificateEndsWithItsStatus)
{
    negotiate(0x1200);
    scripted.slotMask = 3;
    scripted.certificate[1] = 0x80020001;
    expectEnd(0x80020001U, "<3>   [ERR] Failed to get cert of slot 1. rc = "
                           "0x80020001");
    EXPECT_TRUE(called("challenge 0"));
}

TEST_F(Flow, aFailedChallengeEndsWithItsStatus)
{
    negotiate(0x1200);
    scripted.challenge[0] = 0x80020001;
    expectEnd(0x80020001U, "<3>   [ERR] Failed to get challenge based on "
                           "slot 0. rc = 0x80020001");
    EXPECT_FALSE(called("measure 0 attributes 0 slot 0"));
}

TEST_F(Flow, aFailedCountEndsWithItsStatus)
{
    negotiate(0x1200);
    scripted.blockCount = 0x80010005;
    expectEnd(0x80010005U, "<3>   [ERR] Failed to get num of measurement "
                           "blocks based on slot 0. rc = 0x80010005");
}

TEST_F(Flow, aFailedBlockDoesNotEndTheOthers)
{
    negotiate(0x1200);
    scripted.blocks = 2;
    scripted.block[1] = 0x8001000D;
    scripted.records[1] = record(0, 1, 0xFF, 1);
    scripted.records[2] = record(0x80, 1, 0x0F, 1);
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[6], "<3>     [ERR] Failed to get measurement block 1 "
                        "based on slot 0. rc = 0x8001000d");
    EXPECT_EQ(lines[7], "<6>     measurement block 2, BitStream of "
                        "0(ImmutableROM), 1 bytes. 0f");
}

TEST_F(Flow, aValueOf4090BytesIsTooBig)
{
    negotiate(0x1200);
    scripted.blocks = 3;
    scripted.records[1] = record(2, 4089, 0x5A, 4089);
    scripted.records[2] = record(2, 4090, 0x5A, 4089);
    scripted.records[3] = record(3, 0xFFFF, 0x5A, 4089);
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[6], "<6>     measurement block 1, Digest of "
                        "2(H/W Configuration), 4089 bytes. " +
                            hex(4089, "5a"));
    EXPECT_EQ(lines[7], "<3>     [ERR] measurement block 2 size 4090 is too "
                        "big");
    EXPECT_EQ(lines[8], "<3>     [ERR] measurement block 3 size 65535 is too "
                        "big");
}

TEST_F(Flow, aRecordShowsNothingOfTheOneBefore)
{
    negotiate(0x1200);
    scripted.blocks = 3;
    scripted.records[1] = record(1, 4, 0x77, 4);
    scripted.records[2] = record(1, 4, 0x88, 1);
    scripted.records[3] = {};
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[7], "<6>     measurement block 2, Digest of "
                        "1(MutableFirmware), 4 bytes. 88000000");
    EXPECT_EQ(lines[8], "<6>     measurement block 3, Digest of "
                        "0(ImmutableROM), 0 bytes. ");
}

TEST_F(Flow, theBlockWithAllBlocksIsNeverAskedFor)
{
    negotiate(0x1200, 0x0E);
    scripted.blocks = 255;
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    EXPECT_EQ(lines[5], "<6>   The responder has 255 measurement blocks");
    EXPECT_EQ(scripted.calls.back(), "measure 254 attributes 0 slot 0");
}

TEST_F(Flow, measurementsAreSignedUnlessTheDeviceCannot)
{
    negotiate(0x1200, 0x1E);
    scripted.blocks = 1;
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    EXPECT_EQ(scripted.calls.back(), "measure 1 attributes 0 slot 0");
}

TEST_F(Flow, capabilitiesDecideWhatIsAskedFor)
{
    negotiate(0x1200, 0);
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    EXPECT_EQ(scripted.calls, Lines{"init_connection 0"});
    // No certificates: nothing that needs them is asked for either.
    negotiate(0x1200, 0x14);
    EXPECT_EQ(attest(lines, "/nowhere"), 0U);
    EXPECT_EQ(scripted.calls, Lines{"init_connection 0"});
    negotiate(0x1200, 2);
    EXPECT_EQ(attest(lines), 0U);
    EXPECT_EQ(scripted.calls, (Lines{"init_connection 0", "digest",
                                     "certificate 0", "room 4096"}));
}

TEST_F(Flow, keyUsageOf13DecidesPerSlot)
{
    negotiate(0x1300);
    scripted.slotMask = 0x8B;
    scripted.blocks = 1;
    scripted.peers[{LIBSPDM_DATA_PEER_KEY_PAIR_ID, 1}] = 200;
    scripted.peers[{LIBSPDM_DATA_PEER_CERT_INFO, 1}] = 0x1F;
    scripted.peers[{LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, 1}] = 0xC004;
    scripted.peers[{LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, 3}] = 2;
    scripted.peers[{LIBSPDM_DATA_PEER_KEY_PAIR_ID, 7}] = 7;
    scripted.peers[{LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, 7}] = 6;
    Lines lines;
    EXPECT_EQ(attest(lines), 0U);
    EXPECT_EQ(Lines(lines.begin() + 1, lines.begin() + 5),
              (Lines{"<6> Certificate slot bitmask: 0x8b",
                     "<6>   [Slot 1] KeyPairId: 200, CertInfo: 0x1f, KeyUsage: "
                     "0xc004",
                     "<6>   [Slot 3] KeyUsage: 0x2",
                     "<6>   [Slot 7] KeyPairId: 7, KeyUsage: 0x6"}));
    // Nothing is known about the key of slot 0, so only its chain is read.
    EXPECT_FALSE(called("challenge 0"));
    EXPECT_FALSE(called("challenge 1"));
    EXPECT_TRUE(called("measure 0 attributes 0 slot 1"));
    EXPECT_TRUE(called("measure 1 attributes 1 slot 1"));
    EXPECT_TRUE(called("challenge 3"));
    EXPECT_TRUE(called("challenge 7"));
    EXPECT_FALSE(called("measure 0 attributes 0 slot 7"));
}

TEST(Measurement, namesOfTypes)
{
    const auto name = [](uint8_t type) {
        return mctp::spdm::MeasurementValue{type, 0, {}}.kindName();
    };
    EXPECT_EQ(name(0x00), "(ImmutableROM)");
    EXPECT_EQ(name(0x81), "(MutableFirmware)");
    EXPECT_EQ(name(0x02), "(H/W Configuration)");
    EXPECT_EQ(name(0x83), "(F/W Configuration)");
    EXPECT_EQ(name(0x04), "");
    EXPECT_EQ(name(0xFF), "");
}

} // namespace
