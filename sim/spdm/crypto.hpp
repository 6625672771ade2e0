// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/protocol.hpp"

#include <openssl/types.h>

#include <memory>

// What the responder needs of OpenSSL. A failing OpenSSL call (out of memory,
// no entropy) throws std::runtime_error with the name of what failed.

namespace sim::spdm
{

enum class Hash : uint8_t
{
    sha256,
    sha384,
    sha512,
};

enum class Curve : uint8_t
{
    p256,
    p384,
};

/** A key pair, shared by the slots that name it. */
using Key = std::shared_ptr<EVP_PKEY>;

/** Digest length in bytes. */
size_t digestSize(Hash hash);

/** Length of one coordinate in bytes; a raw signature has two. */
size_t coordinateSize(Curve curve);

Bytes digest(Hash hash, View data);
const EVP_MD* messageDigest(Hash hash);

Bytes randomBytes(size_t count);

Key generateKey(Curve curve);

/** ECDSA over a digest, as DSP0274 wants it: r then s, each of full length. */
Bytes signDigest(const Key& key, Curve curve, View hashValue);

/** DER AlgorithmIdentifier of the key, as KEY_PAIR_INFO carries it. */
Bytes algorithmIdentifier(const Key& key);

} // namespace sim::spdm
