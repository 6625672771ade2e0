// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/crypto.hpp"

#include "sim/spdm/bytes.hpp"
#include "sim/spdm/openssl_owner.hpp"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/x509.h>

namespace sim::spdm
{

const EVP_MD* messageDigest(Hash hash)
{
    switch (hash)
    {
        case Hash::sha256:
            return EVP_sha256();
        case Hash::sha384:
            return EVP_sha384();
        case Hash::sha512:
            return EVP_sha512();
    }
    throw std::logic_error("hash algorithm out of range");
}

size_t digestSize(Hash hash)
{
    return static_cast<size_t>(EVP_MD_get_size(messageDigest(hash)));
}

size_t coordinateSize(Curve curve)
{
    return curve == Curve::p256 ? 32 : 48;
}

Bytes digest(Hash hash, View data)
{
    Bytes result(digestSize(hash));
    check(EVP_Digest(data.data(), data.size(), result.data(), nullptr,
                     messageDigest(hash), nullptr),
          "digest");
    return result;
}

Bytes randomBytes(size_t count)
{
    Bytes result(count);
    check(RAND_bytes(result.data(), static_cast<int>(count)), "random");
    return result;
}

Key generateKey(Curve curve)
{
    const char* name = curve == Curve::p256 ? "P-256" : "P-384";
    return {check(EVP_EC_gen(name), "key generation"), EVP_PKEY_free};
}

static Bytes rawSignature(View der, size_t width)
{
    const unsigned char* data = der.data();
    Owner<ECDSA_SIG, ECDSA_SIG_free> parsed(
        check(d2i_ECDSA_SIG(nullptr, &data, static_cast<long>(der.size())),
              "signature"));
    Bytes raw(2 * width);
    int length = static_cast<int>(width);
    check(BN_bn2binpad(ECDSA_SIG_get0_r(parsed.get()), raw.data(), length),
          "r");
    check(BN_bn2binpad(ECDSA_SIG_get0_s(parsed.get()), &raw[width], length),
          "s");
    return raw;
}

Bytes signDigest(const Key& key, Curve curve, View hashValue)
{
    Owner<EVP_PKEY_CTX, EVP_PKEY_CTX_free> context(
        check(EVP_PKEY_CTX_new(key.get(), nullptr), "signing context"));
    check(EVP_PKEY_sign_init(context.get()), "sign init");
    size_t size = 0;
    check(EVP_PKEY_sign(context.get(), nullptr, &size, hashValue.data(),
                        hashValue.size()),
          "signature size");
    Bytes der(size);
    check(EVP_PKEY_sign(context.get(), der.data(), &size, hashValue.data(),
                        hashValue.size()),
          "sign");
    return rawSignature(View(der).first(size), coordinateSize(curve));
}

Bytes algorithmIdentifier(const Key& key)
{
    X509_PUBKEY* raw = nullptr;
    check(X509_PUBKEY_set(&raw, key.get()), "public key");
    Owner<X509_PUBKEY, X509_PUBKEY_free> publicKey(raw);
    X509_ALGOR* algorithm = nullptr;
    check(X509_PUBKEY_get0_param(nullptr, nullptr, nullptr, &algorithm, raw),
          "key algorithm");
    Bytes der(static_cast<size_t>(
        check(i2d_X509_ALGOR(algorithm, nullptr), "algorithm size")));
    unsigned char* out = der.data();
    check(i2d_X509_ALGOR(algorithm, &out), "algorithm");
    return der;
}

} // namespace sim::spdm
