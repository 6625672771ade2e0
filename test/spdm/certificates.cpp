#include "test/spdm/certificates.hpp"

#include <openssl/ec.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace test
{

namespace
{

using Extension = std::unique_ptr<X509_EXTENSION, Free<X509_EXTENSION_free>>;
using Octets = std::unique_ptr<ASN1_OCTET_STRING, Free<ASN1_OCTET_STRING_free>>;
using Object = std::unique_ptr<ASN1_OBJECT, Free<ASN1_OBJECT_free>>;

void require(bool done)
{
    if (!done)
    {
        throw std::runtime_error("OpenSSL refused to make a certificate");
    }
}

void addText(X509& certificate, int kind, const std::string& text)
{
    if (text.empty())
    {
        return;
    }
    Extension made(X509V3_EXT_conf_nid(nullptr, nullptr, kind, text.c_str()));
    require(made && X509_add_ext(&certificate, made.get(), -1) == 1);
}

void addSpdm(X509& certificate, const Der& value)
{
    if (value.empty())
    {
        return;
    }
    Octets octets(ASN1_OCTET_STRING_new());
    Object kind(OBJ_txt2obj("1.3.6.1.4.1.412.274.6", 1));
    require(octets && kind &&
            ASN1_OCTET_STRING_set(octets.get(), value.data(),
                                  static_cast<int>(value.size())) == 1);
    Extension made(
        X509_EXTENSION_create_by_OBJ(nullptr, kind.get(), 0, octets.get()));
    require(made && X509_add_ext(&certificate, made.get(), -1) == 1);
}

void setName(X509& certificate, const std::string& name)
{
    const auto* text = reinterpret_cast<const unsigned char*>(name.c_str());
    require(X509_NAME_add_entry_by_txt(X509_get_subject_name(&certificate),
                                       "CN", MBSTRING_ASC, text, -1, -1,
                                       0) == 1);
}

} // namespace

Key makeKey(const char* curve)
{
    Key key(EVP_EC_gen(curve));
    require(key != nullptr);
    return key;
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
    Certificate made(X509_new());
    require(made != nullptr);
    X509_set_version(made.get(), spec.version);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 7);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), spec.notBefore);
    X509_gmtime_adj(X509_getm_notAfter(made.get()), spec.notAfter);
    setName(*made, spec.name);
    const X509* named = issuer != nullptr ? issuer : made.get();
    require(X509_set_issuer_name(made.get(), X509_get_subject_name(named)) ==
            1);
    require(X509_set_pubkey(made.get(), &key) == 1);
    if (spec.version == 2)
    {
        addText(*made, NID_basic_constraints, spec.constraints);
        addText(*made, NID_key_usage, spec.keyUsage);
        addText(*made, NID_ext_key_usage, spec.extendedKeyUsage);
        addText(*made, NID_name_constraints, spec.nameConstraints);
        addText(*made, NID_subject_alt_name, spec.alternativeName);
        addSpdm(*made, spec.spdmExtension);
    }
    require(X509_sign(made.get(), &issuerKey, EVP_sha384()) > 0);
    return made;
}

Der toDer(const X509& certificate)
{
    unsigned char* bytes = nullptr;
    int size = i2d_X509(&certificate, &bytes);
    require(size > 0);
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
    Der all = root;
    all.insert(all.end(), middle.begin(), middle.end());
    all.insert(all.end(), leaf.begin(), leaf.end());
    return all;
}

Der makeChain(const Der& root, const Der& row)
{
    constexpr size_t hashSize = 48;
    Der chain(4 + hashSize);
    size_t size = chain.size() + row.size();
    chain[0] = static_cast<uint8_t>(size);
    chain[1] = static_cast<uint8_t>(size >> 8);
    require(EVP_Digest(root.data(), root.size(), chain.data() + 4, nullptr,
                       EVP_sha384(), nullptr) == 1);
    chain.insert(chain.end(), row.begin(), row.end());
    return chain;
}

} // namespace test
