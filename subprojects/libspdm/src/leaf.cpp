// SPDX-License-Identifier: Apache-2.0
#include "chain.hpp"

#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include <optional>

namespace spdm
{

namespace
{

using SequencePtr =
    std::unique_ptr<ASN1_SEQUENCE_ANY,
                    decltype([](ASN1_SEQUENCE_ANY* any)
                             { sk_ASN1_TYPE_pop_free(any, ASN1_TYPE_free); })>;
using TimePtr = std::unique_ptr<ASN1_TIME, Release<ASN1_TIME_free>>;
using ObjectPtr = std::unique_ptr<ASN1_OBJECT, Release<ASN1_OBJECT_free>>;

/** Extensions longer than these are not looked into, but refused. */
constexpr size_t maxKeyUsages = 256;
constexpr size_t maxSpdmExtension = 30;
constexpr size_t maxBasicConstraints = 10;

constexpr const char* responderAuth = "1.3.6.1.4.1.412.274.3";
constexpr const char* requesterAuth = "1.3.6.1.4.1.412.274.4";
constexpr const char* hardwareIdentity = "1.3.6.1.4.1.412.274.2";
constexpr const char* spdmExtension = "1.3.6.1.4.1.412.274.6";

/** X.509 version 3 as it stands in the certificate. */
constexpr long version3 = 2;

ObjectPtr objectOf(const char* dotted)
{
    return ObjectPtr(OBJ_txt2obj(dotted, 1));
}

/** The first extension of that kind; nothing if there is none. */
std::optional<Bytes> extension(const X509& certificate, const ASN1_OBJECT& kind)
{
    int at = X509_get_ext_by_OBJ(&certificate, &kind, -1);
    if (at < 0)
    {
        return std::nullopt;
    }
    const ASN1_OCTET_STRING* data =
        X509_EXTENSION_get_data(X509_get_ext(&certificate, at));
    return Bytes(ASN1_STRING_get0_data(data),
                 static_cast<size_t>(ASN1_STRING_length(data)));
}

/** The elements of a DER sequence that fills the bytes; null otherwise. */
SequencePtr elementsOf(Bytes der)
{
    const unsigned char* at = der.data();
    SequencePtr elements(
        d2i_ASN1_SEQUENCE_ANY(nullptr, &at, static_cast<long>(der.size())));
    if (!elements || at != der.data() + der.size())
    {
        return {};
    }
    return elements;
}

/** Years that X.509 can express and a computer's calendar has. */
bool isValidityValid(const X509& certificate)
{
    TimePtr earliest(ASN1_TIME_new());
    TimePtr latest(ASN1_TIME_new());
    if (!earliest || !latest ||
        ASN1_TIME_set_string(earliest.get(), "19700101000000Z") != 1 ||
        ASN1_TIME_set_string(latest.get(), "99991231235959Z") != 1)
    {
        return false;
    }
    int from =
        ASN1_TIME_compare(X509_get0_notBefore(&certificate), earliest.get());
    int to = ASN1_TIME_compare(latest.get(), X509_get0_notAfter(&certificate));
    // Less than 0 is "before", and -2 a broken time.
    return from >= 0 && to >= 0;
}

/** A leaf is no authority; the field may be absent, but not say more. */
bool isNoAuthority(const X509& certificate)
{
    std::optional<Bytes> constraints =
        extension(certificate, *OBJ_nid2obj(NID_basic_constraints));
    constexpr std::array<uint8_t, 2> defaults{0x30, 0x00};
    constexpr std::array<uint8_t, 5> explicitly{0x30, 0x03, 0x01, 0x01, 0x00};
    if (!constraints || constraints->empty())
    {
        return true;
    }
    return constraints->size() <= maxBasicConstraints &&
           (equal(*constraints, defaults) || equal(*constraints, explicitly));
}

/** Key usages that are SPDM's: a responder's leaf that names the requester's
 * names the responder's too. */
bool areKeyUsagesValid(const X509& certificate)
{
    std::optional<Bytes> usages =
        extension(certificate, *OBJ_nid2obj(NID_ext_key_usage));
    if (!usages || usages->empty())
    {
        return true;
    }
    SequencePtr elements = elementsOf(*usages);
    ObjectPtr requester = objectOf(requesterAuth);
    ObjectPtr responder = objectOf(responderAuth);
    if (usages->size() > maxKeyUsages || !elements || !requester || !responder)
    {
        return false;
    }
    bool forRequester = false;
    bool forResponder = false;
    for (int i = 0; i < sk_ASN1_TYPE_num(elements.get()); ++i)
    {
        const ASN1_TYPE* element = sk_ASN1_TYPE_value(elements.get(), i);
        if (element->type != V_ASN1_OBJECT)
        {
            return false;
        }
        const ASN1_OBJECT* usage = element->value.object;
        forRequester |= OBJ_cmp(usage, requester.get()) == 0;
        forResponder |= OBJ_cmp(usage, responder.get()) == 0;
    }
    return !forRequester || forResponder;
}

/** Object identifiers in the SPDM extension: a sequence of sequences that
 * begin with one. */
bool areSpdmObjectsValid(const X509& certificate, Model model)
{
    ObjectPtr kind = objectOf(spdmExtension);
    ObjectPtr hardware = objectOf(hardwareIdentity);
    if (!kind || !hardware)
    {
        return false;
    }
    std::optional<Bytes> objects = extension(certificate, *kind);
    if (!objects || objects->empty())
    {
        return true;
    }
    SequencePtr outer = elementsOf(*objects);
    if (objects->size() > maxSpdmExtension || !outer)
    {
        return false;
    }
    for (int i = 0; i < sk_ASN1_TYPE_num(outer.get()); ++i)
    {
        const ASN1_TYPE* element = sk_ASN1_TYPE_value(outer.get(), i);
        if (element->type != V_ASN1_SEQUENCE)
        {
            return false;
        }
        const ASN1_STRING* inner = element->value.sequence;
        SequencePtr fields =
            elementsOf({ASN1_STRING_get0_data(inner),
                        static_cast<size_t>(ASN1_STRING_length(inner))});
        if (!fields || sk_ASN1_TYPE_num(fields.get()) == 0)
        {
            return false;
        }
        const ASN1_TYPE* first = sk_ASN1_TYPE_value(fields.get(), 0);
        if (first->type != V_ASN1_OBJECT)
        {
            return false;
        }
        // Only the device's own certificate speaks for the hardware.
        if (model == Model::alias &&
            OBJ_cmp(first->value.object, hardware.get()) == 0)
        {
            return false;
        }
    }
    return true;
}

/** Absent key usage allows everything. */
bool maySign(X509& certificate)
{
    return (X509_get_key_usage(&certificate) & KU_DIGITAL_SIGNATURE) != 0;
}

} // namespace

bool isLeafValid(X509& leaf, uint32_t baseAsym, Model model)
{
    return X509_get_version(&leaf) == version3 && keyOf(leaf, baseAsym) &&
           isValidityValid(leaf) && maySign(leaf) && areKeyUsagesValid(leaf) &&
           areSpdmObjectsValid(leaf, model) && isNoAuthority(leaf);
}

} // namespace spdm
