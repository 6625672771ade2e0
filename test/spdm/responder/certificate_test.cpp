// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/openssl_owner.hpp"
#include "test/spdm/responder/asking.hpp"
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>

namespace spdm_test
{

/** A certificate of a chain whose hashes have 48 bytes, counted from the root;
 *  -1 for the last, none if there is none. */
static Bytes certificateOf(const Bytes& chain, int32_t index)
{
    const uint8_t* found = nullptr;
    size_t size = 0;
    constexpr size_t front = 4 + 48;
    if (!libspdm_x509_get_cert_from_cert_chain(
            chain.data() + front, chain.size() - front, index, &found, &size))
    {
        return {};
    }
    return {found, found + size};
}

static Bytes foreignRoot()
{
    return readFile(keyStore().foreignRoots() / "ecp384" / "ca.cert.der");
}

/** What a requester that trusts the root says to the chain of slot 0. */
static libspdm_return_t verdict(const std::string& json, Bytes root)
{
    Asking asking(json);
    EXPECT_EQ(asking.addRoot(root), 0U);
    return asking.readChain();
}

using Certificate = sim::spdm::Owner<X509, X509_free>;
using Key = sim::spdm::Owner<EVP_PKEY, EVP_PKEY_free>;

static Certificate parse(const Bytes& der)
{
    const unsigned char* data = der.data();
    return Certificate(d2i_X509(nullptr, &data, static_cast<long>(der.size())));
}

static Key keyOf(const Bytes& certificate)
{
    return Key(X509_get_pubkey(parse(certificate).get()));
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
    EXPECT_EQ(certificateOf(chain, 0), root);
}

class IntermediatesTest : public testing::TestWithParam<unsigned>
{
};

TEST_P(IntermediatesTest, chainLeadsToTheRoot)
{
    std::string json =
        R"({"slots": [{"intermediates": )" + std::to_string(GetParam()) + "}]}";
    EXPECT_EQ(verdict(json, trustedRoot()), 0U);
    EXPECT_EQ(verdict(json, foreignRoot()), LIBSPDM_STATUS_VERIF_NO_AUTHORITY);
    Asking asking(json);
    EXPECT_EQ(asking.readChain(), 0U);
    int32_t leaf = static_cast<int32_t>(GetParam()) + 1;
    EXPECT_NE(certificateOf(asking.chain, leaf), Bytes{});
    EXPECT_EQ(certificateOf(asking.chain, leaf),
              certificateOf(asking.chain, -1));
    EXPECT_EQ(certificateOf(asking.chain, leaf + 1), Bytes{});
}

INSTANTIATE_TEST_SUITE_P(Count, IntermediatesTest, testing::Range(0U, 9U));

TEST(Chain, ofP256)
{
    Asking asking(R"({"algorithms": {"asymmetric": ["ecdsa-p256"],
                                     "hash": ["sha-256"]}})",
                  0x12, {}, {.baseAsym = 0x10, .baseHash = 1});
    Bytes root = readFile(keyStore().roots() / "ecp256" / "ca.cert.der");
    EXPECT_EQ(asking.addRoot(root), 0U);
    EXPECT_EQ(asking.readChain(), 0U);
    EXPECT_EQ(asking.challenge(), 0U);
    EXPECT_EQ(Bytes(asking.chain.begin() + 4, asking.chain.begin() + 36),
              hashOf("SHA256", root));
}

struct Defect
{
    const char* name;
    libspdm_return_t status;
};

class DefectTest : public testing::TestWithParam<Defect>
{
};

TEST_P(DefectTest, chain)
{
    EXPECT_EQ(verdict(R"({"slots": [{"defect": ")" +
                          std::string(GetParam().name) + "\"}]}",
                      trustedRoot()),
              GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DefectTest,
    testing::Values(Defect{"none", 0},
                    Defect{"bad-signature", LIBSPDM_STATUS_VERIF_FAIL},
                    Defect{"expired-leaf", LIBSPDM_STATUS_VERIF_FAIL},
                    Defect{"foreign-root", LIBSPDM_STATUS_VERIF_NO_AUTHORITY},
                    Defect{"truncated-leaf", LIBSPDM_STATUS_VERIF_FAIL},
                    Defect{"wrong-root-hash", LIBSPDM_STATUS_VERIF_FAIL},
                    Defect{"leaf-is-authority", LIBSPDM_STATUS_VERIF_FAIL},
                    Defect{"no-signing-usage", LIBSPDM_STATUS_VERIF_FAIL}));

/** The chain of slot 0, whatever is wrong with it. */
static Bytes chainWith(const char* defect)
{
    Peer peer(R"({"slots": [{"defect": ")" + std::string(defect) + "\"}]}");
    peer.connect(0x12);
    return peer.readChain(0);
}

TEST(Defects, wrongRootHash)
{
    Bytes chain = chainWith("wrong-root-hash");
    EXPECT_EQ(certificateOf(chain, 0), trustedRoot());
    EXPECT_NE(Bytes(chain.begin() + 4, chain.begin() + 52),
              hashOf("SHA384", trustedRoot()));
}

TEST(Defects, truncatedLeafIsTheLastCertificate)
{
    Bytes chain = chainWith("truncated-leaf");
    EXPECT_NE(certificateOf(chain, 1), Bytes{});
    EXPECT_EQ(certificateOf(chain, 2), Bytes{});
}

TEST(Defects, thatAreNoBadSignatureLeaveThemGood)
{
    for (const char* defect : {"none", "expired-leaf", "wrong-root-hash",
                               "leaf-is-authority", "no-signing-usage"})
    {
        Bytes chain = chainWith(defect);
        for (int32_t index : {0, 1, 2})
        {
            Key issuer = keyOf(certificateOf(chain, std::max(index - 1, 0)));
            EXPECT_EQ(X509_verify(parse(certificateOf(chain, index)).get(),
                                  issuer.get()),
                      1)
                << defect << " " << index;
        }
    }
}

TEST(Defects, foreignRootIsTheForeignFoldersOne)
{
    EXPECT_EQ(
        verdict(R"({"slots": [{"defect": "foreign-root"}]})", foreignRoot()),
        0U);
}

TEST(Slots, shareTheKeyTheyName)
{
    Asking asking(R"({"slots": [{"slot": 0}, {"slot": 1},
                                {"slot": 2, "keyPairId": 2}]})");
    std::vector<Key> keys;
    for (uint8_t slot : {0, 1, 2})
    {
        EXPECT_EQ(asking.readChain(slot), 0U);
        EXPECT_EQ(asking.challenge(slot), 0U);
        keys.push_back(keyOf(certificateOf(asking.chain, -1)));
    }
    EXPECT_EQ(EVP_PKEY_eq(keys[0].get(), keys[1].get()), 1);
    EXPECT_EQ(EVP_PKEY_eq(keys[0].get(), keys[2].get()), 0);
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
