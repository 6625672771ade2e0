#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

/** The certificates of a chain whose hashes have 48 bytes. */
static std::vector<Bytes> certificatesOf(const Bytes& chain)
{
    return splitCertificates(View(chain).subspan(4 + 48));
}

TEST(Digests, areThoseOfTheChains)
{
    Peer peer(R"({"slots": [{"slot": 0}, {"slot": 3, "intermediates": 2}]})");
    peer.connect(0x12);
    Bytes digests = peer.getDigests();
    Bytes expected = join({hex("12010009"), hashOf("SHA384", peer.readChain(0)),
                           hashOf("SHA384", peer.readChain(3))});
    EXPECT_EQ(digests, expected);
}

TEST(Digests, nameKeysInAMultiKeyConnection)
{
    Peer peer(R"({"versions": ["1.3"],
        "capabilities": {"multiKey": "negotiable"},
        "slots": [{"slot": 1, "keyUsage": 6, "certInfo": 2},
                  {"slot": 7, "keyUsage": 513, "keyPairId": 9}]})");
    peer.otherParams = 0x12;
    peer.connect(0x13);
    Bytes digests = peer.getDigests();
    ASSERT_EQ(digests.size(), 4U + 2 * 48 + 2 * 4);
    EXPECT_EQ(Bytes(digests.begin(), digests.begin() + 4), hex("13018282"));
    EXPECT_EQ(Bytes(digests.end() - 8, digests.end()),
              hex("0209 0201 0600 0102"));
}

TEST(Digests, nameNoKeysOtherwise)
{
    Peer peer(R"({"versions": ["1.3"],
                  "capabilities": {"multiKey": "negotiable"}})");
    peer.connect(0x13);
    EXPECT_EQ(peer.getDigests().size(), 4U + 48);
}

TEST(Digests, ofADeviceWithoutSlots)
{
    Peer peer(R"({"slots": []})");
    peer.connect(0x12);
    EXPECT_EQ(peer.getDigests(), hex("12010000"));
}

TEST(Chain, hasLengthRootHashAndCertificates)
{
    Peer peer("{}");
    peer.connect(0x12);
    peer.getDigests();
    Bytes chain = peer.readChain(0);
    ASSERT_GT(chain.size(), 52U);
    EXPECT_EQ(chain.size(), static_cast<size_t>(chain[0] | chain[1] << 8));
    EXPECT_EQ(Bytes(chain.begin() + 2, chain.begin() + 4), hex("0000"));
    Bytes root = trustedRoot();
    EXPECT_EQ(Bytes(chain.begin() + 4, chain.begin() + 52),
              hashOf("SHA384", root));
    EXPECT_EQ(certificatesOf(chain).front(), root);
}

class IntermediatesTest : public testing::TestWithParam<unsigned>
{
};

TEST_P(IntermediatesTest, chainLeadsToTheRoot)
{
    Peer peer(R"({"slots": [{"intermediates": )" + std::to_string(GetParam()) +
              "}]}");
    peer.connect(0x12);
    std::vector<Bytes> certificates = certificatesOf(peer.readChain(0));
    ASSERT_EQ(certificates.size(), GetParam() + 2);
    EXPECT_TRUE(chainVerifies(certificates, trustedRoot()));
    EXPECT_FALSE(chainVerifies(
        certificates,
        readFile(keyStore().foreignRoots() / "ecp384" / "ca.cert.der")));
}

INSTANTIATE_TEST_SUITE_P(Count, IntermediatesTest, testing::Range(0U, 9U));

TEST(Chain, ofP256)
{
    Peer peer(R"({"algorithms": {"asymmetric": ["ecdsa-p256"],
                                 "hash": ["sha-256"]}})");
    peer.connect(0x12);
    Bytes chain = peer.readChain(0);
    Bytes root = readFile(keyStore().roots() / "ecp256" / "ca.cert.der");
    EXPECT_EQ(Bytes(chain.begin() + 4, chain.begin() + 36),
              hashOf("SHA256", root));
    EXPECT_TRUE(
        chainVerifies(splitCertificates(View(chain).subspan(36)), root));
}

struct Defect
{
    const char* name;
    /** Bytes of the certificates that are left whole. */
    bool parses;
    bool verifies;
};

class DefectTest : public testing::TestWithParam<Defect>
{
};

TEST_P(DefectTest, chain)
{
    Peer peer(R"({"slots": [{"defect": ")" + std::string(GetParam().name) +
              "\"}]}");
    peer.connect(0x12);
    std::vector<Bytes> certificates = certificatesOf(peer.readChain(0));
    ASSERT_EQ(!certificates.empty(), GetParam().parses);
    if (GetParam().parses)
    {
        EXPECT_EQ(chainVerifies(certificates, trustedRoot()),
                  GetParam().verifies);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DefectTest,
    testing::Values(Defect{"none", true, true},
                    Defect{"bad-signature", true, false},
                    Defect{"expired-leaf", true, false},
                    Defect{"foreign-root", true, false},
                    Defect{"truncated-leaf", false, false},
                    // What X.509 alone does not object to.
                    Defect{"wrong-root-hash", true, true},
                    Defect{"leaf-is-authority", true, true},
                    Defect{"no-signing-usage", true, true}));

TEST(Defects, wrongRootHash)
{
    Peer peer(R"({"slots": [{"defect": "wrong-root-hash"}]})");
    peer.connect(0x12);
    Bytes chain = peer.readChain(0);
    EXPECT_NE(Bytes(chain.begin() + 4, chain.begin() + 52),
              hashOf("SHA384", certificatesOf(chain).front()));
}

TEST(Defects, foreignRootIsTheForeignFoldersOne)
{
    Peer peer(R"({"slots": [{"defect": "foreign-root"}]})");
    peer.connect(0x12);
    EXPECT_TRUE(chainVerifies(
        certificatesOf(peer.readChain(0)),
        readFile(keyStore().foreignRoots() / "ecp384" / "ca.cert.der")));
}

TEST(Slots, shareTheKeyTheyName)
{
    Peer peer(R"({"slots": [{"slot": 0}, {"slot": 1},
                            {"slot": 2, "keyPairId": 2}]})");
    peer.connect(0x12);
    for (uint8_t slot : {0, 1, 2})
    {
        peer.readChain(slot);
    }
    peer.b.clear();
    peer.connect(0x12);
    Bytes answer = peer.challenge(0, 0);
    Bytes b = peer.b;
    EXPECT_TRUE(peer.challengeVerifies(1, answer));
    peer.b = b;
    EXPECT_FALSE(peer.challengeVerifies(2, answer));
}

struct Portion
{
    uint8_t version;
    const char* request;
    /** Without the certificate bytes. */
    const char* answer;
};

class PortionTest : public testing::TestWithParam<Portion>
{
};

// A filler makes the chain so long that every portion asked for is there.
TEST_P(PortionTest, answer)
{
    Peer peer(R"({"versions": ["1.2", "1.3"], "dataTransferSize": 512,
                  "slots": [{"leafFiller": 4000}]})");
    peer.connect(GetParam().version);
    Bytes answer = peer.ask(hex(GetParam().request));
    Bytes expected = hex(GetParam().answer);
    ASSERT_GE(answer.size(), expected.size());
    answer.resize(expected.size());
    EXPECT_EQ(answer, expected);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, PortionTest,
    testing::Values(Portion{0x12, "12820000 0000 1000", "12020000 1000"},
                    // The reserved half of the slot byte counts for nothing.
                    Portion{0x12, "1282f000 0500 0100", "12020000 0100"},
                    // More than fits into a transfer of 512 bytes.
                    Portion{0x12, "12820000 0000 ffff", "12020000 f801"},
                    // Another slot; past the end; a byte short.
                    Portion{0x12, "12820100 0000 1000", "127f0100"},
                    Portion{0x12, "12820f00 0000 1000", "127f0100"},
                    Portion{0x12, "12820000 ffff 1000", "127f0100"},
                    Portion{0x12, "12820000 0000 10", "127f0100"},
                    // 1.3: size only.
                    Portion{0x13, "13820001 0500 1000", "13020000 0000"}));

TEST(Portions, remainderIsWhatFollows)
{
    Peer peer("{}");
    peer.connect(0x12);
    size_t whole = peer.readChain(0, 100).size();
    Bytes answer = peer.ask(hex("12820000 6400 0a00"));
    EXPECT_EQ(answer.size(), 18U);
    EXPECT_EQ(static_cast<size_t>(answer[6] | answer[7] << 8),
              whole - 100 - 10);
}

TEST(Portions, nameTheCertificateModelInAMultiKeyConnection)
{
    Peer peer(R"({"versions": ["1.3"], "capabilities": {"multiKey": "only"},
                  "slots": [{"certInfo": 2}]})");
    peer.otherParams = 0x12;
    peer.connect(0x13);
    EXPECT_EQ(peer.ask(hex("13820000 0000 0100"))[3], 2);
}

TEST(KeyPairs, areTold)
{
    Peer peer(R"({"versions": ["1.3"], "capabilities": {"multiKey": "only"},
                  "slots": [{"slot": 0, "keyUsage": 2},
                            {"slot": 4, "keyPairId": 1, "keyUsage": 4}]})");
    peer.otherParams = 0x12;
    peer.connect(0x13);
    // id-ecPublicKey with secp384r1 (RFC 5480).
    EXPECT_EQ(peer.ask(hex("13fc0000 01")),
              hex("137c0000 01 01 0000 0600 0600 10000000 10000000 1200 11"
                  "3010 06072a8648ce3d0201 06052b81040022"));
    EXPECT_EQ(peer.ask(hex("13fc0000 02")), hex("137f0100"));
    EXPECT_EQ(peer.ask(hex("13fc0000")), hex("137f0100"));
}

} // namespace spdm_test
