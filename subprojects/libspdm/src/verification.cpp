// SPDX-License-Identifier: Apache-2.0
#include "chain.hpp"
#include "context.hpp"

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
    return spdm::isRoot(first) ? spdm::equal(first, root)
                               : spdm::isSignedBy(first, root);
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
    Bytes first = spdm::certificateAt(chain.certificates, 0);
    // A chain without its root is held together by its first certificate; the
    // root is then a matter of authority.
    if (first.empty() || (spdm::isRoot(first) &&
                          !hasHash(selected.baseHash, first, chain.rootHash)))
    {
        return false;
    }
    Bytes rest = chain.certificates.subspan(first.size());
    if (!rest.empty() && !spdm::areSignedInARow(first, rest))
    {
        return false;
    }
    bool isAlias = spdm::peerHas(
        *spdm_context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_ALIAS_CERT_CAP);
    return spdm::isLeafValid(
        spdm::certificateAt(chain.certificates, -1), selected.baseAsym,
        isAlias ? spdm::Model::alias : spdm::Model::device);
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
