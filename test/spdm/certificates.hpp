// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/openssl_owner.hpp"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdint>
#include <string>
#include <vector>

/** Keys and certificates that a test makes for itself. */
namespace test
{

using Der = std::vector<uint8_t>;

using Key = sim::spdm::Owner<EVP_PKEY, EVP_PKEY_free>;
using Certificate = sim::spdm::Owner<X509, X509_free>;

/** A new key on a curve, for example "P-384". */
Key makeKey(const char* curve);

/** What a certificate says. Extension texts are OpenSSL's; empty leaves the
 * extension out. Times are seconds from now. */
struct Spec
{
    std::string name{"device"};
    std::string constraints{"critical,CA:FALSE"};
    std::string keyUsage{"critical,digitalSignature"};
    std::string extendedKeyUsage{};
    std::string nameConstraints{};
    std::string alternativeName{};
    /** DER of the SPDM extension. */
    Der spdmExtension{};
    long notBefore{-3600};
    long notAfter{3600};
    long version{2};
};

/** What authorities say. */
Spec authority(const std::string& name);

/** A certificate for key, signed by issuerKey in the name of issuer, or by
 * itself if issuer is null. */
Certificate makeCertificate(const Spec& spec, EVP_PKEY& key, const X509* issuer,
                            EVP_PKEY& issuerKey);

Der toDer(const X509& certificate);

/** Root, one authority and a leaf. */
struct Pki
{
    /** Makes all three; their texts may be given. */
    explicit Pki(const Spec& leafSpec = {},
                 const Spec& middleSpec = authority("middle"),
                 const char* leafCurve = "P-384",
                 const Spec& rootSpec = authority("root"));

    Key rootKey;
    Key middleKey;
    Key leafKey;
    Der root;
    Der middle;
    Der leaf;

    /** The certificates in a row. */
    Der row() const;
};

/** A chain as a slot holds it: size, reserved, SHA-384 of root, row. */
Der makeChain(const Der& root, const Der& row);

} // namespace test
