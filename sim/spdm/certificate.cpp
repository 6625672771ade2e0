// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/certificate.hpp"

#include "sim/spdm/openssl_owner.hpp"

#include <openssl/asn1.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace sim::spdm
{

namespace
{

using Certificate = Owner<X509, X509_free>;

/** id-DMTF-eku-responder-auth of DSP0274. */
constexpr const char* responderAuth = "1.3.6.1.4.1.412.274.3";

Owner<X509_NAME, X509_NAME_free> commonName(const std::string& name)
{
    Owner<X509_NAME, X509_NAME_free> result(check(X509_NAME_new(), "name"));
    const auto* text = reinterpret_cast<const unsigned char*>(name.c_str());
    check(X509_NAME_add_entry_by_txt(result.get(), "CN", MBSTRING_UTF8, text,
                                     static_cast<int>(name.size()), -1, 0),
          "common name");
    return result;
}

void setValidity(X509& certificate, bool expired)
{
    const char* from = expired ? "20010101000000Z" : "20200101000000Z";
    const char* until = expired ? "20020101000000Z" : "20491231235959Z";
    check(ASN1_TIME_set_string_X509(X509_getm_notBefore(&certificate), from),
          "notBefore");
    check(ASN1_TIME_set_string_X509(X509_getm_notAfter(&certificate), until),
          "notAfter");
}

void setIdentity(X509& certificate, const CertRequest& wanted)
{
    check(X509_set_version(&certificate, X509_VERSION_3), "version");
    check(ASN1_INTEGER_set_uint64(X509_get_serialNumber(&certificate),
                                  wanted.serial),
          "serial");
    check(X509_set_subject_name(&certificate, commonName(wanted.subject).get()),
          "subject");
    check(X509_set_issuer_name(&certificate, commonName(wanted.issuer).get()),
          "issuer");
    check(X509_set_pubkey(&certificate, wanted.subjectKey.get()), "key");
}

void extend(X509& certificate, int id, const std::string& value)
{
    Owner<X509_EXTENSION, X509_EXTENSION_free> extension(check(
        X509V3_EXT_conf_nid(nullptr, nullptr, id, value.c_str()), "extension"));
    check(X509_add_ext(&certificate, extension.get(), -1), "add extension");
}

void extendAuthority(X509& certificate)
{
    extend(certificate, NID_basic_constraints, "critical,CA:TRUE");
    extend(certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
}

void extendLeaf(X509& certificate, const CertRequest& wanted)
{
    extend(certificate, NID_basic_constraints,
           wanted.claimsAuthority ? "critical,CA:TRUE" : "critical,CA:FALSE");
    extend(certificate, NID_key_usage,
           wanted.withoutSigning ? "critical,keyAgreement"
                                 : "critical,digitalSignature");
    extend(certificate, NID_ext_key_usage, responderAuth);
    if (wanted.filler > 0)
    {
        extend(certificate, NID_netscape_comment,
               std::string(wanted.filler, 'x'));
    }
}

Bytes toDer(X509& certificate)
{
    Bytes der(static_cast<size_t>(
        check(i2d_X509(&certificate, nullptr), "certificate size")));
    unsigned char* out = der.data();
    check(i2d_X509(&certificate, &out), "certificate");
    return der;
}

} // namespace

Bytes issueCertificate(const CertRequest& wanted)
{
    Certificate certificate(check(X509_new(), "certificate"));
    setIdentity(*certificate, wanted);
    setValidity(*certificate, wanted.expired);
    if (wanted.role == CertRole::authority)
    {
        extendAuthority(*certificate);
    }
    else
    {
        extendLeaf(*certificate, wanted);
    }
    check(X509_sign(certificate.get(), wanted.issuerKey.get(),
                    messageDigest(wanted.hash)),
          "certificate signature");
    return toDer(*certificate);
}

} // namespace sim::spdm
