// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/certificates.hpp"
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

namespace
{

using test::Der;
using test::Pki;
using test::Spec;

/** A context that negotiated P-384 and SHA-384, without a peer. */
class Chain : public testing::Test
{
  protected:
    Chain() : session(test::deviceOf(test::Settings{}))
    {
        setConnection<uint32_t>(LIBSPDM_DATA_BASE_ASYM_ALGO, 0x80);
        setConnection<uint32_t>(LIBSPDM_DATA_BASE_HASH_ALGO, 2);
    }

    template <typename T>
    void setConnection(libspdm_data_type_t item, T value)
    {
        libspdm_data_parameter_t parameter{LIBSPDM_DATA_LOCATION_CONNECTION,
                                           {}};
        ASSERT_EQ(libspdm_set_data(session.context(), item, &parameter, &value,
                                   sizeof(value)),
                  0U);
    }

    libspdm_context_t* context()
    {
        return static_cast<libspdm_context_t*>(session.context());
    }

    bool isWhole(const Der& chain)
    {
        return libspdm_verify_peer_cert_chain_buffer_integrity(
            context(), chain.data(), chain.size());
    }

    bool isTrusted(const Der& chain)
    {
        return libspdm_verify_peer_cert_chain_buffer_authority(
            context(), chain.data(), chain.size(), nullptr, nullptr);
    }

    static Der chainOf(const Pki& from)
    {
        return test::makeChain(from.root, from.row());
    }

    Pki pki;
    test::Session session;
};

TEST_F(Chain, goodOne)
{
    EXPECT_TRUE(isWhole(chainOf(pki)));
}

struct Case
{
    const char* what;
    Spec spec;
    bool accepted;
};

// The SPDM extension: a hardware identity.
const Der identity{0x30, 0x0E, 0x30, 0x0C, 0x06, 0x0A, 0x2B, 0x06,
                   0x01, 0x04, 0x01, 0x83, 0x1C, 0x82, 0x12, 0x02};

/** A sequence that is longer than any identity. */
Der longIdentity()
{
    Der bytes(31, 0x05);
    bytes[0] = 0x30;
    bytes[1] = 29;
    return bytes;
}

const Case leaves[] = {
    {"no key usage", {.keyUsage = ""}, true},
    {"key agreement only", {.keyUsage = "critical,keyAgreement"}, false},
    {"no basic constraints", {.constraints = ""}, true},
    {"an authority", {.constraints = "critical,CA:TRUE"}, false},
    {"expired", {.notAfter = -60}, false},
    {"not valid yet", {.notBefore = 600}, false},
    {"version 1", {.version = 0}, false},
    {"for TLS", {.extendedKeyUsage = "serverAuth"}, true},
    {"for a responder", {.extendedKeyUsage = "1.3.6.1.4.1.412.274.3"}, true},
    {"for a requester", {.extendedKeyUsage = "1.3.6.1.4.1.412.274.4"}, false},
    {"for both",
     {.extendedKeyUsage = "1.3.6.1.4.1.412.274.3,1.3.6.1.4.1.412.274.4"},
     true},
    {"a hardware identity", {.spdmExtension = identity}, true},
    {"an identity that is cut off",
     {.spdmExtension = {identity.begin(), identity.begin() + 7}},
     false},
    {"an identity of no sequence",
     {.spdmExtension = {0x30, 0x02, 0x05, 0x00}},
     false},
    {"too long an identity", {.spdmExtension = longIdentity()}, false},
};

TEST_F(Chain, leaves)
{
    for (const Case& row : leaves)
    {
        EXPECT_EQ(isWhole(chainOf(Pki(row.spec))), row.accepted) << row.what;
    }
}

TEST_F(Chain, hardwareIdentityIsNoAliasCertificates)
{
    Pki made({.spdmExtension = identity});
    setConnection<uint32_t>(
        LIBSPDM_DATA_CAPABILITY_FLAGS,
        SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_ALIAS_CERT_CAP);
    EXPECT_FALSE(isWhole(chainOf(made)));
    EXPECT_TRUE(isWhole(chainOf(pki)));
}

TEST_F(Chain, intermediates)
{
    Spec noAuthority = test::authority("middle");
    noAuthority.constraints = "critical,CA:FALSE";
    Spec noSigner = test::authority("middle");
    noSigner.keyUsage = "critical,digitalSignature";
    Spec expired = test::authority("middle");
    expired.notAfter = -60;
    for (const Spec& spec : {noAuthority, noSigner, expired})
    {
        EXPECT_FALSE(isWhole(chainOf(Pki({}, spec)))) << spec.keyUsage;
    }
}

// The library looks at two certificates at a time, an issuer and what it
// signed, and so do 3.6.0 and 3.8.2: what an authority says about those below
// the next counts only where the next is a leaf.
TEST_F(Chain, authoritiesBindOnlyTheNext)
{
    const char* curve = "P-384";
    Spec root = test::authority("root");
    root.constraints = "critical,CA:TRUE,pathlen:0";
    EXPECT_TRUE(
        isWhole(chainOf(Pki({}, test::authority("middle"), curve, root))));

    Spec device;
    device.alternativeName = "DNS:device.test";
    root = test::authority("root");
    root.nameConstraints = "critical,permitted;DNS:elsewhere.test";
    EXPECT_TRUE(
        isWhole(chainOf(Pki(device, test::authority("middle"), curve, root))));
    Spec middle = test::authority("middle");
    middle.nameConstraints = root.nameConstraints;
    EXPECT_FALSE(isWhole(chainOf(Pki(device, middle))));
}

// Likewise as in 3.6.0 and 3.8.2: the right to sign certificates is enough.
TEST_F(Chain, anAuthorityMayLackBasicConstraints)
{
    Spec middle = test::authority("middle");
    middle.constraints = "";
    EXPECT_TRUE(isWhole(chainOf(Pki({}, middle))));
    middle.keyUsage = "";
    EXPECT_FALSE(isWhole(chainOf(Pki({}, middle))));
}

// Likewise: with nothing below it no one looks at its dates.
TEST_F(Chain, aCertificateThatIsAChainOfItsOwn)
{
    const test::Key key = test::makeKey("P-384");
    Spec expired;
    expired.notAfter = -60;
    Der alone =
        test::toDer(*test::makeCertificate(expired, *key, nullptr, *key));
    ASSERT_EQ(session.addRoot(alone), 0U);
    EXPECT_TRUE(isWhole(test::makeChain(alone, alone)));
    EXPECT_TRUE(isTrusted(test::makeChain(alone, alone)));
}

TEST_F(Chain, anExpiredRootSignsNothing)
{
    Spec root = test::authority("root");
    root.notAfter = -60;
    Pki old({}, test::authority("middle"), "P-384", root);
    EXPECT_FALSE(isWhole(chainOf(old)));
    Der row = old.middle;
    row.insert(row.end(), old.leaf.begin(), old.leaf.end());
    ASSERT_EQ(session.addRoot(old.root), 0U);
    EXPECT_FALSE(isTrusted(test::makeChain(old.root, row)));
}

TEST_F(Chain, leafOfAnotherCurve)
{
    EXPECT_FALSE(isWhole(chainOf(Pki({}, test::authority("middle"), "P-256"))));
}

TEST_F(Chain, eachSignatureCounts)
{
    for (size_t back :
         {size_t{1}, size_t{40}, pki.leaf.size() + 1, pki.leaf.size() + 40})
    {
        Der chain = chainOf(pki);
        chain.at(chain.size() - back) ^= 1;
        EXPECT_FALSE(isWhole(chain)) << back;
    }
}

TEST_F(Chain, rootHash)
{
    Der chain = chainOf(pki);
    chain[4] ^= 1;
    EXPECT_FALSE(isWhole(chain));
}

TEST_F(Chain, lengthsAndTails)
{
    Der chain = chainOf(pki);
    Der longer = chain;
    longer.push_back(0);
    EXPECT_FALSE(isWhole(longer));
    Der row = pki.row();
    row.push_back('x');
    EXPECT_FALSE(isWhole(test::makeChain(pki.root, row)));
    for (size_t size :
         {size_t{0}, size_t{3}, size_t{52}, size_t{53}, chain.size() - 1})
    {
        Der cut(chain.begin(), chain.begin() + static_cast<ptrdiff_t>(size));
        EXPECT_FALSE(isWhole(cut)) << size;
    }
}

TEST_F(Chain, itsLengthIsWhatItSays)
{
    for (const size_t byte : {0, 1})
    {
        Der chain = chainOf(pki);
        chain.at(byte) ^= 1;
        EXPECT_FALSE(isWhole(chain)) << byte;
    }
}

TEST_F(Chain, noAuthorityFollowsItself)
{
    const auto isWholeRow = [&](std::initializer_list<Der> row)
    { return isWhole(test::makeChain(pki.root, test::join(row))); };
    EXPECT_TRUE(isWholeRow({pki.middle, pki.leaf}));
    EXPECT_FALSE(isWholeRow({pki.middle, pki.middle, pki.leaf}));
    // But a root vouches for itself.
    EXPECT_TRUE(isWholeRow({pki.root, pki.root, pki.middle, pki.leaf}));
}

TEST_F(Chain, orderMatters)
{
    Der row = test::join({pki.root, pki.leaf, pki.middle});
    EXPECT_FALSE(isWhole(test::makeChain(pki.root, row)));
}

TEST_F(Chain, noRootMeansNoQuestionOfAuthority)
{
    EXPECT_TRUE(isTrusted(chainOf(pki)));
}

TEST_F(Chain, foreignRoot)
{
    Pki other;
    ASSERT_EQ(session.addRoot(other.root), 0U);
    EXPECT_FALSE(isTrusted(chainOf(pki)));
    EXPECT_TRUE(isTrusted(chainOf(other)));
}

TEST_F(Chain, tenRoots)
{
    Pki other;
    for (int i = 0; i < 9; ++i)
    {
        ASSERT_EQ(session.addRoot(other.root), 0U);
    }
    EXPECT_FALSE(isTrusted(chainOf(pki)));
    ASSERT_EQ(session.addRoot(pki.root), 0U);
    EXPECT_EQ(session.addRoot(pki.root), LIBSPDM_STATUS_BUFFER_FULL);
    const void* anchor = nullptr;
    size_t size = 0;
    Der chain = chainOf(pki);
    EXPECT_TRUE(libspdm_verify_peer_cert_chain_buffer_authority(
        context(), chain.data(), chain.size(), &anchor, &size));
    EXPECT_EQ(anchor, pki.root.data());
    EXPECT_EQ(size, pki.root.size());
}

TEST_F(Chain, mayLeaveItsRootOut)
{
    Der row = test::join({pki.middle, pki.leaf});
    Der chain = test::makeChain(pki.root, row);
    ASSERT_EQ(session.addRoot(pki.root), 0U);
    EXPECT_TRUE(isWhole(chain));
    EXPECT_TRUE(isTrusted(chain));
    // The hash names the root, but that root did not sign.
    Pki other;
    Der stolen = test::join({other.middle, other.leaf});
    EXPECT_FALSE(isTrusted(test::makeChain(pki.root, stolen)));
}

TEST_F(Chain, certificatesAreFoundByNumber)
{
    Der row = pki.row();
    const uint8_t* found = nullptr;
    size_t size = 0;
    auto find = [&](int32_t index)
    {
        return libspdm_x509_get_cert_from_cert_chain(row.data(), row.size(),
                                                     index, &found, &size);
    };
    ASSERT_TRUE(find(0));
    EXPECT_EQ(Der(found, found + size), pki.root);
    ASSERT_TRUE(find(1));
    EXPECT_EQ(Der(found, found + size), pki.middle);
    ASSERT_TRUE(find(-1));
    EXPECT_EQ(Der(found, found + size), pki.leaf);
    EXPECT_FALSE(find(3));
    EXPECT_FALSE(find(-2));
    row = {'n', 'o'};
    EXPECT_FALSE(find(0));
    EXPECT_FALSE(find(-1));
}

TEST_F(Chain, refusalOfTheBuiltInChecks)
{
    Pki other;
    test::Session own(test::deviceOf(test::Settings{}));
    ASSERT_EQ(own.addRoot(other.root), 0U);
    EXPECT_EQ(own.attest().certificate, LIBSPDM_STATUS_VERIF_NO_AUTHORITY);
}

bool refuse(void* /*context*/, uint8_t /*slot*/, size_t /*size*/,
            const void* /*chain*/, const void** /*anchor*/,
            size_t* /*anchorSize*/)
{
    return false;
}

TEST_F(Chain, refusalOfTheProgram)
{
    test::Session own(test::deviceOf(test::Settings{}));
    libspdm_register_verify_spdm_cert_chain_func(own.context(), refuse);
    EXPECT_EQ(own.attest().certificate, LIBSPDM_STATUS_VERIF_FAIL);
}

bool agree(void* /*context*/, uint8_t /*slot*/, size_t /*size*/,
           const void* /*chain*/, const void** /*anchor*/,
           size_t* /*anchorSize*/)
{
    return true;
}

TEST_F(Chain, mustBeHashedWhoeverAgrees)
{
    test::Session own(test::deviceOf(test::Settings{}));
    libspdm_register_verify_spdm_cert_chain_func(own.context(), agree);
    EXPECT_EQ(own.connect(), 0U);
    EXPECT_EQ(own.digests(), 0U);
    libspdm_data_parameter_t parameter{LIBSPDM_DATA_LOCATION_CONNECTION, {}};
    uint32_t unknown = 0x40;
    EXPECT_EQ(libspdm_set_data(own.context(), LIBSPDM_DATA_BASE_HASH_ALGO,
                               &parameter, &unknown, sizeof(unknown)),
              0U);
    EXPECT_EQ(own.readChain(), LIBSPDM_STATUS_CRYPTO_ERROR);
}

} // namespace
