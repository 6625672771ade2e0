// SPDX-License-Identifier: Apache-2.0
#include "signature.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** From 1.2 on, DSP0274 "Signature generation": the version's prefix four
 * times, zeros, the purpose, then the hash of the transcript. */
constexpr size_t prefixRepeats = 4;
constexpr size_t combinedPrefix = 100;

using Signed = std::array<uint8_t, combinedPrefix + LIBSPDM_MAX_HASH_SIZE>;

/** "dmtf-spdm-v1.2.*" with the minor version of the connection. */
std::array<uint8_t, 16> versionPrefix(uint8_t version)
{
    std::array<uint8_t, 16> prefix{};
    std::ranges::copy(std::string_view("dmtf-spdm-v1.0.*"), prefix.begin());
    prefix[13] = static_cast<uint8_t>('0' + (version & 0x0F));
    return prefix;
}

Bytes combine(Signed& area, uint8_t version, std::string_view purpose,
              Bytes hash)
{
    Writer writer(area);
    for (size_t i = 0; i < prefixRepeats; ++i)
    {
        writer.bytes(versionPrefix(version));
    }
    writer.zeros(combinedPrefix - writer.size() - purpose.size());
    std::ranges::copy(purpose, writer.reserve(purpose.size()).begin());
    writer.bytes(hash);
    return Bytes(area).first(writer.size());
}

} // namespace

bool verifySignature(Context& context, uint8_t slot, Transcript& transcript,
                     std::string_view purpose, Bytes signature)
{
    const Algorithms& selected = context.connection.algorithms;
    Hash hash{};
    size_t size = transcript.finish(hash);
    EVP_PKEY* key = context.peer.chains[slot].leafKey.get();
    if (size == 0 || key == nullptr)
    {
        return false;
    }
    if (versionOf(context) >= SPDM_MESSAGE_VERSION_12)
    {
        Signed area{};
        Bytes combined =
            combine(area, versionOf(context), purpose, Bytes(hash).first(size));
        if (!libspdm_hash_all(selected.baseHash, combined.data(),
                              combined.size(), hash.data()))
        {
            return false;
        }
    }
    return verifyDigest(*key, selected.baseAsym, Bytes(hash).first(size),
                        signature);
}

bool writeNonce(Writer& writer, const void* given, void* copy)
{
    std::span<uint8_t> nonce = writer.reserve(SPDM_NONCE_SIZE);
    if (nonce.empty())
    {
        return false;
    }
    if (given != nullptr)
    {
        std::memcpy(nonce.data(), given, nonce.size());
    }
    else if (!fillRandom(nonce))
    {
        return false;
    }
    if (copy != nullptr)
    {
        std::memcpy(copy, nonce.data(), nonce.size());
    }
    return true;
}

void writeRequesterContext(Writer& writer, const void* given)
{
    std::span<uint8_t> area = writer.reserve(SPDM_REQ_CONTEXT_SIZE);
    std::ranges::fill(area, uint8_t{0});
    if (given != nullptr && !area.empty())
    {
        std::memcpy(area.data(), given, area.size());
    }
}

} // namespace spdm
