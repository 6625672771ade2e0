// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "crypto.hpp"

/** Certificate chains as they are read from a slot. */
namespace spdm
{

using CertificatePtr = std::unique_ptr<X509, Release<X509_free>>;

/** Parses one DER certificate; null if it is none. */
CertificatePtr parse(Bytes der);

/** The parts of a chain: size field, reserved, root hash, certificates. */
struct Chain
{
    uint16_t length;
    Bytes rootHash;
    Bytes certificates;
};

/** Splits a chain; certificates is empty if there is no room for any. */
Chain split(Bytes chain, size_t hashSize);

/** Certificate number index of a row, -1 for the last; empty if none. */
Bytes certificateAt(Bytes row, int32_t index);

/** Whether subject and issuer are the same. Names of more than 100 bytes are
 * never a root's. */
bool isRoot(const X509& certificate);

/** Whether issuer signed the certificate and may do so, by the X.509 rules for
 * authorities, and both are valid today. */
bool isSignedBy(X509& certificate, X509& issuer);

/** Whether the row begins with a certificate of the same content. */
bool hasSameContent(Bytes certificate, Bytes row);

/** The last certificate of a row in which each is signed by the one before it,
 * the first by issuer; issuer if the row is empty, null if one is not. */
CertificatePtr lastSignedInARow(CertificatePtr issuer, Bytes row);

/** Which certificate model the leaf belongs to. */
enum class Model
{
    device,
    alias,
};

/** Whether a leaf meets DSP0274's requirements: X.509 version 3, a key of the
 * negotiated algorithm, validity fields, digital signature as key usage,
 * no authority, and SPDM's own key usages and object identifiers. */
bool isLeafValid(X509& leaf, uint32_t baseAsym, Model model);

} // namespace spdm
