// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

using sim::spdm::DeviceConfig;
using sim::spdm::parseDeviceConfig;

static DeviceConfig parsed(const char* text)
{
    return parseDeviceConfig(sim::Json::parse(text));
}

TEST(Config, defaults)
{
    DeviceConfig config = parsed("{}");
    EXPECT_EQ(config.versions, std::vector<uint8_t>({0x11, 0x12}));
    EXPECT_TRUE(config.certificates);
    EXPECT_TRUE(config.challenge);
    EXPECT_FALSE(config.chunking);
    ASSERT_EQ(config.slots.size(), 1U);
    EXPECT_EQ(config.slots[0].intermediates, 1U);
    EXPECT_EQ(config.slots[0].keyUsage, 6U);
    EXPECT_EQ(config.maxMessageSize, 4608U);
}

TEST(Config, sizes)
{
    EXPECT_EQ(parsed(R"({"dataTransferSize": 64})").maxMessageSize, 64U);
    EXPECT_EQ(parsed(R"({"dataTransferSize": 64})").transmitSize, 64U);
    EXPECT_EQ(parsed(R"({"dataTransferSize": 64,
                         "capabilities": {"chunking": true}})")
                  .maxMessageSize,
              4608U);
    EXPECT_EQ(parsed(R"({"transmitSize": 99})").transmitSize, 99U);
}

TEST(Config, keyPairs)
{
    const char* slots = R"({"slots": [{"slot": 2}, {"slot": 5}]})";
    EXPECT_EQ(parsed(slots).slots[1].keyPairId, 1);
    const char* many = R"({"slots": [{"slot": 2}, {"slot": 5}],
                           "capabilities": {"multiKey": "only"}})";
    EXPECT_EQ(parsed(many).slots[1].keyPairId, 6);
}

TEST(Config, valuesOfBlocks)
{
    auto blocks = parsed(R"({"measurements": [
        {"index": 1, "value": "0a 0B"}, {"index": 2, "size": 3},
        {"index": 3, "value": "ff", "size": 2},
        {"index": 4, "type": 5, "digestOf": "00"}]})")
                      .blocks;
    EXPECT_EQ(blocks[0].value, Bytes({0x0a, 0x0b}));
    EXPECT_EQ(blocks[1].value, Bytes({0x20, 0x21, 0x22}));
    EXPECT_EQ(blocks[2].value, Bytes({0xff, 0x31}));
    EXPECT_TRUE(blocks[3].digestOfValue);
    EXPECT_TRUE(blocks[0].trustedBase);
    EXPECT_FALSE(blocks[3].trustedBase);
}

struct Wrong
{
    const char* json;
    const char* message;
};

class WrongTest : public testing::TestWithParam<Wrong>
{
};

TEST_P(WrongTest, namesThePlace)
{
    try
    {
        parsed(GetParam().json);
        FAIL() << "accepted";
    }
    catch (const sim::ScenarioError& error)
    {
        EXPECT_STREQ(error.what(), GetParam().message);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, WrongTest,
    testing::Values(
        Wrong{"[]", "device: must be an object"},
        Wrong{R"({"slot": []})",
              "device/slot: is none of versions, capabilities, algorithms, "
              "slots, measurements, claimedBlocks, dataTransferSize, "
              "maxMessageSize, transmitSize, ctExponent, challengeOpaque, "
              "measurementOpaque, faults"},
        Wrong{R"({"versions": ["2.0"]})",
              "device/versions/0: is none of 1.0, 1.1, 1.2, 1.3"},
        Wrong{R"({"versions": [12]})", "device/versions/0: must be a text"},
        Wrong{R"({"versions": "1.2"})", "device/versions: must be an array"},
        Wrong{R"({"capabilities": 1})",
              "device/capabilities: must be an object"},
        Wrong{R"({"capabilities": {"challenge": "yes"}})",
              "device/capabilities/challenge: must be true or false"},
        Wrong{R"({"capabilities": {"mutual": true}})",
              "device/capabilities/mutual: is none of certificates, challenge, "
              "chunking, measurements, multiKey"},
        Wrong{R"({"algorithms": {"hash": ["md5"]}})",
              "device/algorithms/hash/0: is none of sha-256, sha-384, sha-512"},
        Wrong{R"({"slots": [{}, {"slot": 8}]})",
              "device/slots/1/slot: is not from 0 to 7"},
        Wrong{R"({"slots": [{"intermediates": 9}]})",
              "device/slots/0/intermediates: is not from 0 to 8"},
        Wrong{R"({"slots": [{"intermediates": -1}]})",
              "device/slots/0/intermediates: must be a whole number"},
        Wrong{R"({"slots": [{"intermediates": 1.5}]})",
              "device/slots/0/intermediates: must be a whole number"},
        Wrong{R"({"measurements": [{"index": 0}]})",
              "device/measurements/0/index: is not from 1 to 254"},
        Wrong{R"({"measurements": [{"value": "0g"}]})",
              "device/measurements/0/value: has what is no hexadecimal digit"},
        Wrong{R"({"measurements": [{"value": "012"}]})",
              "device/measurements/0/value: has half a byte at the end"},
        Wrong{R"({"measurements": [{"value": 1}]})",
              "device/measurements/0/value: must be a text"},
        Wrong{R"({"transmitSize": 41})",
              "device/transmitSize: is not from 42 to 4294967295"},
        Wrong{R"({"faults": [{"at": "CHALLENGE"}]})",
              "device/faults/0: needs a member \"kind\""},
        Wrong{R"({"faults": [{"at": "NOTHING", "kind": "dead"}]})",
              "device/faults/0/at: is none of ANY, GET_VERSION, "
              "GET_CAPABILITIES, NEGOTIATE_ALGORITHMS, GET_DIGESTS, "
              "GET_CERTIFICATE, CHALLENGE, GET_MEASUREMENTS, "
              "GET_KEY_PAIR_INFO, CHUNK_SEND, CHUNK_GET, RESPOND_IF_READY"},
        Wrong{R"({"faults": [{"kind": "dead", "nth": 0}]})",
              "device/faults/0/nth: is not from 1 to 4294967295"},
        Wrong{R"({"faults": [{"kind": "raw", "answer": "zz"}]})",
              "device/faults/0/answer: has what is no hexadecimal digit"}));

TEST(Config, moreBlocksThanIndices)
{
    sim::Json json;
    json["measurements"] = sim::Json::array();
    for (int i = 0; i < 255; i++)
    {
        json["measurements"].push_back({{"index", 1}});
    }
    EXPECT_THROW(parseDeviceConfig(json), sim::ScenarioError);
}

TEST(Config, valueThatIsTooLong)
{
    sim::Json json;
    json["challengeOpaque"] = std::string(size_t{2} * 0xfff1, '0');
    EXPECT_THROW(parseDeviceConfig(json), sim::ScenarioError);
}

TEST(KeyStore, saysWhereItCannotWrite)
{
    EXPECT_THROW(sim::spdm::KeyStore("/proc/none"),
                 std::filesystem::filesystem_error);
}

} // namespace spdm_test
