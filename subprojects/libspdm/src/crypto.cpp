// SPDX-License-Identifier: Apache-2.0
#include "crypto.hpp"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/obj_mac.h>
#include <openssl/rand.h>

#include <algorithm>
#include <string_view>

namespace spdm
{

namespace
{

using BignumPtr = std::unique_ptr<BIGNUM, Release<BN_free>>;
using SignaturePtr = std::unique_ptr<ECDSA_SIG, Release<ECDSA_SIG_free>>;
using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, Release<EVP_PKEY_CTX_free>>;

/** Longest DER form of r and s of P-521: two integers and their sequence. */
constexpr size_t maxDerSignature = 160;

using DerSignature = std::array<unsigned char, maxDerSignature>;

/** SPDM's r and s as the DER sequence that OpenSSL verifies; its length, or 0
 * on failure. */
size_t toDer(Bytes signature, DerSignature& der)
{
    size_t half = signature.size() / 2;
    BignumPtr r(BN_bin2bn(signature.data(), static_cast<int>(half), nullptr));
    BignumPtr s(
        BN_bin2bn(signature.data() + half, static_cast<int>(half), nullptr));
    SignaturePtr pair(ECDSA_SIG_new());
    if (!r || !s || !pair || ECDSA_SIG_set0(pair.get(), r.get(), s.get()) != 1)
    {
        return 0;
    }
    // set0 took both over.
    static_cast<void>(r.release());
    static_cast<void>(s.release());
    int size = i2d_ECDSA_SIG(pair.get(), nullptr);
    if (size <= 0 || static_cast<size_t>(size) > der.size())
    {
        return 0;
    }
    unsigned char* at = der.data();
    return static_cast<size_t>(i2d_ECDSA_SIG(pair.get(), &at));
}

/** Whether a public key lies on the named curve. */
bool isOnCurve(const EVP_PKEY& key, int nid)
{
    std::array<char, 64> name{};
    size_t size = 0;
    if (EVP_PKEY_get_id(&key) != EVP_PKEY_EC ||
        EVP_PKEY_get_group_name(&key, name.data(), name.size(), &size) != 1)
    {
        return false;
    }
    return OBJ_txt2nid(name.data()) == nid;
}

} // namespace

const EVP_MD* digestOf(uint32_t baseHash)
{
    switch (baseHash)
    {
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA_256:
            return EVP_sha256();
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA_384:
            return EVP_sha384();
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA_512:
            return EVP_sha512();
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA3_256:
            return EVP_sha3_256();
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA3_384:
            return EVP_sha3_384();
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA3_512:
            return EVP_sha3_512();
        default:
            return nullptr;
    }
}

Curve curveOf(uint32_t baseAsym)
{
    switch (baseAsym)
    {
        case SPDM_ALGORITHMS_BASE_ASYM_ALGO_TPM_ALG_ECDSA_ECC_NIST_P256:
            return {NID_X9_62_prime256v1, 32};
        case SPDM_ALGORITHMS_BASE_ASYM_ALGO_TPM_ALG_ECDSA_ECC_NIST_P384:
            return {NID_secp384r1, 48};
        case SPDM_ALGORITHMS_BASE_ASYM_ALGO_TPM_ALG_ECDSA_ECC_NIST_P521:
            return {NID_secp521r1, 66};
        default:
            return {NID_undef, 0};
    }
}

KeyPtr keyOf(X509& certificate, uint32_t baseAsym)
{
    KeyPtr key(X509_get_pubkey(&certificate));
    Curve curve = curveOf(baseAsym);
    if (!key || curve.nid == NID_undef || !isOnCurve(*key, curve.nid))
    {
        return {};
    }
    return key;
}

bool fillRandom(std::span<uint8_t> area)
{
    return RAND_bytes(area.data(), static_cast<int>(area.size())) == 1;
}

bool equal(Bytes left, Bytes right)
{
    return left.size() == right.size() &&
           CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

bool verifyDigest(EVP_PKEY& key, uint32_t baseAsym, Bytes digest,
                  Bytes signature)
{
    Curve curve = curveOf(baseAsym);
    if (curve.half == 0 || signature.size() != 2 * curve.half)
    {
        return false;
    }
    DerSignature der{};
    size_t size = toDer(signature, der);
    KeyContextPtr context(EVP_PKEY_CTX_new(&key, nullptr));
    return size != 0 && context && EVP_PKEY_verify_init(context.get()) == 1 &&
           EVP_PKEY_verify(context.get(), der.data(), size, digest.data(),
                           digest.size()) == 1;
}

} // namespace spdm

uint32_t libspdm_get_hash_size(uint32_t base_hash_algo)
{
    switch (base_hash_algo)
    {
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA_256:
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA3_256:
            return 32;
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA_384:
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA3_384:
            return 48;
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA_512:
        case SPDM_ALGORITHMS_BASE_HASH_ALGO_TPM_ALG_SHA3_512:
            return 64;
        default:
            return 0;
    }
}

uint32_t libspdm_get_measurement_hash_size(uint32_t measurement_hash_algo)
{
    if (measurement_hash_algo ==
        SPDM_ALGORITHMS_MEASUREMENT_HASH_ALGO_RAW_BIT_STREAM_ONLY)
    {
        return UINT32_MAX;
    }
    // The bits are those of the base hash, moved up by the raw stream's.
    return libspdm_get_hash_size(measurement_hash_algo >> 1);
}

uint32_t libspdm_get_asym_signature_size(uint32_t base_asym_algo)
{
    return static_cast<uint32_t>(2 * spdm::curveOf(base_asym_algo).half);
}

bool libspdm_hash_all(uint32_t base_hash_algo, const void* data,
                      size_t data_size, uint8_t* hash_value)
{
    const EVP_MD* digest = spdm::digestOf(base_hash_algo);
    return digest != nullptr && hash_value != nullptr &&
           EVP_Digest(data, data_size, hash_value, nullptr, digest, nullptr) ==
               1;
}
