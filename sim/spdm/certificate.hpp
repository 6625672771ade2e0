// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/crypto.hpp"

#include <string>

namespace sim::spdm
{

enum class CertRole : uint8_t
{
    authority,
    leaf,
};

/** One certificate to be made and signed. */
struct CertRequest
{
    std::string subject;
    std::string issuer;
    Key subjectKey;
    Key issuerKey;
    Hash hash = Hash::sha384;
    uint64_t serial = 1;
    CertRole role = CertRole::authority;
    /** Validity in 2001 and 2002 instead of 2020 to 2049. */
    bool expired = false;
    /** Leaf: basic constraints say CA. */
    bool claimsAuthority = false;
    /** Leaf: key usage has keyAgreement instead of digitalSignature. */
    bool withoutSigning = false;
    /** Leaf: so many characters of comment. */
    size_t filler = 0;
};

/**
 * DER of an X.509 version 3 certificate. Names are a common name only. A leaf
 * has what DSP0274 wants of one: basic constraints without CA, key usage
 * digitalSignature, extended key usage id-DMTF-eku-responder-auth.
 */
Bytes issueCertificate(const CertRequest& wanted);

} // namespace sim::spdm
