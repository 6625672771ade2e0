// SPDX-License-Identifier: Apache-2.0
#include "chain.hpp"

#include <openssl/asn1.h>
#include <openssl/x509_vfy.h>

#include <climits>
#include <utility>

namespace spdm
{

namespace
{

using StorePtr = std::unique_ptr<X509_STORE, Release<X509_STORE_free>>;
using StoreContextPtr =
    std::unique_ptr<X509_STORE_CTX, Release<X509_STORE_CTX_free>>;

/** Longest name that is compared. */
constexpr int maxName = 100;

/** ASN1_get_object() flags a broken length with this bit. */
constexpr int asn1Error = 0x80;

/** The DER sequence at the beginning; empty if there is none. */
Bytes firstSequence(Bytes row)
{
    const unsigned char* at = row.data();
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    if (row.empty() || row.size() > LONG_MAX)
    {
        return {};
    }
    int flags = ASN1_get_object(&at, &length, &tag, &tagClass,
                                static_cast<long>(row.size()));
    if ((flags & asn1Error) != 0 || tag != V_ASN1_SEQUENCE)
    {
        return {};
    }
    size_t head = static_cast<size_t>(at - row.data());
    return row.first(head + static_cast<size_t>(length));
}

/** What a sequence holds. */
Bytes contentOf(Bytes sequence)
{
    const unsigned char* at = sequence.data();
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    ASN1_get_object(&at, &length, &tag, &tagClass,
                    static_cast<long>(sequence.size()));
    return sequence.last(static_cast<size_t>(length));
}

} // namespace

CertificatePtr parse(Bytes der)
{
    const unsigned char* at = der.data();
    if (der.empty() || der.size() > LONG_MAX)
    {
        return {};
    }
    return CertificatePtr(
        d2i_X509(nullptr, &at, static_cast<long>(der.size())));
}

Chain split(Bytes chain, size_t hashSize)
{
    Reader reader(chain);
    Chain parts{.length = reader.u16(), .rootHash = {}, .certificates = {}};
    reader.skip(sizeof(uint16_t));
    parts.rootHash = reader.take(hashSize);
    parts.certificates = reader.remaining();
    return parts;
}

Bytes certificateAt(Bytes row, int32_t index)
{
    Bytes last;
    for (int32_t number = 0; number <= index || index < 0; ++number)
    {
        Bytes current = firstSequence(row);
        if (current.empty())
        {
            return index < 0 ? last : Bytes{};
        }
        last = current;
        row = row.subspan(current.size());
    }
    return last;
}

bool isRoot(const X509& certificate)
{
    const X509_NAME* issuer = X509_get_issuer_name(&certificate);
    const X509_NAME* subject = X509_get_subject_name(&certificate);
    return i2d_X509_NAME(issuer, nullptr) <= maxName &&
           i2d_X509_NAME(subject, nullptr) <= maxName &&
           X509_NAME_cmp(issuer, subject) == 0;
}

bool isSignedBy(X509& certificate, X509& issuer)
{
    StorePtr store(X509_STORE_new());
    StoreContextPtr context(X509_STORE_CTX_new());
    if (!store || !context || X509_STORE_add_cert(store.get(), &issuer) != 1)
    {
        return false;
    }
    // The issuer need not be a root.
    X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN);
    return X509_STORE_CTX_init(context.get(), store.get(), &certificate,
                               nullptr) == 1 &&
           X509_verify_cert(context.get()) == 1;
}

bool hasSameContent(Bytes certificate, Bytes row)
{
    Bytes first = firstSequence(row);
    return !first.empty() && equal(contentOf(first), contentOf(certificate));
}

CertificatePtr lastSignedInARow(CertificatePtr issuer, Bytes row)
{
    while (!row.empty())
    {
        Bytes current = firstSequence(row);
        CertificatePtr certificate = parse(current);
        if (!certificate || !isSignedBy(*certificate, *issuer))
        {
            return {};
        }
        issuer = std::move(certificate);
        row = row.subspan(current.size());
    }
    return issuer;
}

} // namespace spdm

bool libspdm_x509_get_cert_from_cert_chain(const uint8_t* cert_chain,
                                           size_t cert_chain_length,
                                           const int32_t cert_index,
                                           const uint8_t** cert,
                                           size_t* cert_length)
{
    if (cert_chain == nullptr || cert == nullptr || cert_length == nullptr ||
        cert_index < -1)
    {
        return false;
    }
    spdm::Bytes found =
        spdm::certificateAt({cert_chain, cert_chain_length}, cert_index);
    if (found.empty())
    {
        return false;
    }
    *cert = found.data();
    *cert_length = found.size();
    return true;
}
