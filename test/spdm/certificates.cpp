// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/certificates.hpp"

#include "test/spdm/devices.hpp"

#include <openssl/ec.h>
#include <openssl/x509v3.h>

namespace test
{

namespace
{

using sim::spdm::check;
using sim::spdm::Owner;

using Extension = Owner<X509_EXTENSION, X509_EXTENSION_free>;
using Octets = Owner<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;
using Object = Owner<ASN1_OBJECT, ASN1_OBJECT_free>;

void addText(X509& certificate, int kind, const std::string& text)
{
    if (text.empty())
    {
        return;
    }
    Extension made(
        check(X509V3_EXT_conf_nid(nullptr, nullptr, kind, text.c_str()),
              "extension"));
    check(X509_add_ext(&certificate, made.get(), -1), "extension");
}

void addSpdm(X509& certificate, const Der& value)
{
    if (value.empty())
    {
        return;
    }
    Octets octets(check(ASN1_OCTET_STRING_new(), "octets"));
    Object kind(check(OBJ_txt2obj("1.3.6.1.4.1.412.274.6", 1), "object"));
    check(ASN1_OCTET_STRING_set(octets.get(), value.data(),
                                static_cast<int>(value.size())),
          "octets");
    Extension made(check(
        X509_EXTENSION_create_by_OBJ(nullptr, kind.get(), 0, octets.get()),
        "extension"));
    check(X509_add_ext(&certificate, made.get(), -1), "extension");
}

void setName(X509& certificate, const std::string& name)
{
    const auto* text = reinterpret_cast<const unsigned char*>(name.c_str());
    check(X509_NAME_add_entry_by_txt(X509_get_subject_name(&certificate), "CN",
                                     MBSTRING_ASC, text, -1, -1, 0),
          "name");
}

} // namespace

Key makeKey(const char* curve)
{
    return Key(check(EVP_EC_gen(curve), "key"));
}

Spec authority(const std::string& name)
{
    Spec spec;
    spec.name = name;
    spec.constraints = "critical,CA:TRUE";
    spec.keyUsage = "critical,keyCertSign,digitalSignature";
    return spec;
}

Certificate makeCertificate(const Spec& spec, EVP_PKEY& key, const X509* issuer,
                            EVP_PKEY& issuerKey)
{
    Certificate made(check(X509_new(), "certificate"));
    X509_set_version(made.get(), spec.version);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 7);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), spec.notBefore);
    X509_gmtime_adj(X509_getm_notAfter(made.get()), spec.notAfter);
    setName(*made, spec.name);
    const X509* named = issuer != nullptr ? issuer : made.get();
    check(X509_set_issuer_name(made.get(), X509_get_subject_name(named)),
          "issuer");
    check(X509_set_pubkey(made.get(), &key), "key");
    if (spec.version == 2)
    {
        addText(*made, NID_basic_constraints, spec.constraints);
        addText(*made, NID_key_usage, spec.keyUsage);
        addText(*made, NID_ext_key_usage, spec.extendedKeyUsage);
        addText(*made, NID_name_constraints, spec.nameConstraints);
        addText(*made, NID_subject_alt_name, spec.alternativeName);
        addSpdm(*made, spec.spdmExtension);
    }
    check(X509_sign(made.get(), &issuerKey, EVP_sha384()), "signature");
    return made;
}

Der toDer(const X509& certificate)
{
    unsigned char* bytes = nullptr;
    int size = check(i2d_X509(&certificate, &bytes), "certificate");
    Der der(bytes, bytes + size);
    OPENSSL_free(bytes);
    return der;
}

Pki::Pki(const Spec& leafSpec, const Spec& middleSpec, const char* leafCurve,
         const Spec& rootSpec) :
    rootKey(makeKey("P-384")),
    middleKey(makeKey("P-384")),
    leafKey(makeKey(leafCurve))
{
    Certificate top = makeCertificate(rootSpec, *rootKey, nullptr, *rootKey);
    Certificate between =
        makeCertificate(middleSpec, *middleKey, top.get(), *rootKey);
    Certificate bottom =
        makeCertificate(leafSpec, *leafKey, between.get(), *middleKey);
    root = toDer(*top);
    middle = toDer(*between);
    leaf = toDer(*bottom);
}

Der Pki::row() const
{
    return join({root, middle, leaf});
}

Der makeChain(const Der& root, const Der& row)
{
    Der chain = join({Der(4), hashOf("SHA384", root), row});
    chain[0] = static_cast<uint8_t>(chain.size());
    chain[1] = static_cast<uint8_t>(chain.size() >> 8);
    return chain;
}

} // namespace test
