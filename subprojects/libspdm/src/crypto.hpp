// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "headers.hpp"
#include "wire.hpp"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <array>
#include <memory>

/** What the requester needs of OpenSSL: hashes, random numbers and ECDSA. */
namespace spdm
{

/** Calls an OpenSSL release function from a unique_ptr. */
template <auto release>
struct Release
{
    template <typename T>
    void operator()(T* object) const
    {
        release(object);
    }
};

using KeyPtr = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using DigestPtr = std::unique_ptr<EVP_MD_CTX, Release<EVP_MD_CTX_free>>;

/** Room for the longest hash. */
using Hash = std::array<uint8_t, LIBSPDM_MAX_HASH_SIZE>;

/** OpenSSL's digest for a base hash algorithm bit, null if there is none. */
const EVP_MD* digestOf(uint32_t baseHash);

/** Curve of an ECDSA algorithm bit: NID and bytes of r and of s. */
struct Curve
{
    int nid;
    size_t half;
};

/** NID 0 for anything but ECDSA on P-256, P-384 and P-521. */
Curve curveOf(uint32_t baseAsym);

/** The key of a certificate if it lies on the algorithm's curve, else null. */
KeyPtr keyOf(X509& certificate, uint32_t baseAsym);

/** Fills the area from the system's generator. */
bool fillRandom(std::span<uint8_t> area);

/** Compares in a time that does not depend on the content. */
bool equal(Bytes left, Bytes right);

/** Checks an SPDM signature, r then s, over the hash of a message. */
bool verifyDigest(EVP_PKEY& key, uint32_t baseAsym, Bytes digest,
                  Bytes signature);

} // namespace spdm
