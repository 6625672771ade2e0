// SPDX-License-Identifier: Apache-2.0
#include "chain.hpp"
#include "context.hpp"

#include <utility>

namespace
{

using spdm::Bytes;

Bytes bytes(const void* data, size_t size)
{
    return {static_cast<const uint8_t*>(data), size};
}

bool hasHash(uint32_t algorithm, Bytes data, Bytes expected)
{
    spdm::Hash hash{};
    return libspdm_hash_all(algorithm, data.data(), data.size(), hash.data()) &&
           spdm::equal(Bytes(hash).first(expected.size()), expected);
}

/** The root that the chain's hash names; empty if it is none of them. */
Bytes findRoot(const spdm::Context& context, Bytes rootHash)
{
    for (const spdm::Root& root : context.local.roots)
    {
        if (root.data == nullptr || root.size == 0)
        {
            break;
        }
        Bytes candidate(root.data, root.size);
        if (hasHash(context.connection.algorithms.baseHash, candidate,
                    rootHash))
        {
            return candidate;
        }
    }
    return {};
}

/** Whether the chain begins with the root or right below it. */
bool startsAt(Bytes first, Bytes root)
{
    spdm::CertificatePtr certificate = spdm::parse(first);
    if (!certificate)
    {
        return false;
    }
    if (spdm::isRoot(*certificate))
    {
        return spdm::equal(first, root);
    }
    spdm::CertificatePtr issuer = spdm::parse(root);
    return issuer && spdm::isSignedBy(*certificate, *issuer);
}

/** The leaf of a chain that holds together; null if it does not.
 *
 * A chain without its root is held together by its first certificate; the root
 * is then a matter of authority. */
spdm::CertificatePtr leafOf(const spdm::Chain& chain, uint32_t baseHash)
{
    Bytes first = spdm::certificateAt(chain.certificates, 0);
    spdm::CertificatePtr certificate = spdm::parse(first);
    if (!certificate)
    {
        return {};
    }
    Bytes rest = chain.certificates.subspan(first.size());
    // Nothing but a self-signed certificate may follow itself.
    bool holds = spdm::isRoot(*certificate)
                   ? hasHash(baseHash, first, chain.rootHash)
                   : !spdm::hasSameContent(first, rest);
    return holds ? spdm::lastSignedInARow(std::move(certificate), rest)
                 : spdm::CertificatePtr{};
}

} // namespace

bool libspdm_verify_peer_cert_chain_buffer_integrity(
    libspdm_context_t* spdm_context, const void* cert_chain_buffer,
    size_t cert_chain_buffer_size)
{
    const spdm::Algorithms& selected = spdm_context->connection.algorithms;
    Bytes buffer = bytes(cert_chain_buffer, cert_chain_buffer_size);
    spdm::Chain chain = spdm::split(buffer, spdm::hashSize(*spdm_context));
    if (chain.rootHash.empty() || chain.length != buffer.size())
    {
        return false;
    }
    spdm::CertificatePtr leaf = leafOf(chain, selected.baseHash);
    bool isAlias = spdm::peerHas(
        *spdm_context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_ALIAS_CERT_CAP);
    return leaf && spdm::isLeafValid(*leaf, selected.baseAsym,
                                     isAlias ? spdm::Model::alias
                                             : spdm::Model::device);
}

bool libspdm_verify_peer_cert_chain_buffer_authority(
    libspdm_context_t* spdm_context, const void* cert_chain_buffer,
    size_t cert_chain_buffer_size, const void** trust_anchor,
    size_t* trust_anchor_size)
{
    const spdm::Root& configured = spdm_context->local.roots.front();
    if (configured.data == nullptr || configured.size == 0)
    {
        return true;
    }
    spdm::Chain chain =
        spdm::split(bytes(cert_chain_buffer, cert_chain_buffer_size),
                    spdm::hashSize(*spdm_context));
    if (chain.rootHash.empty())
    {
        return false;
    }
    Bytes root = findRoot(*spdm_context, chain.rootHash);
    Bytes first = spdm::certificateAt(chain.certificates, 0);
    if (root.empty() || first.empty() || !startsAt(first, root))
    {
        return false;
    }
    if (trust_anchor != nullptr)
    {
        *trust_anchor = root.data();
    }
    if (trust_anchor_size != nullptr)
    {
        *trust_anchor_size = root.size();
    }
    return true;
}
