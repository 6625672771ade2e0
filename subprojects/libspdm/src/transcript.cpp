// SPDX-License-Identifier: Apache-2.0
#include "transcript.hpp"

#include <algorithm>

namespace spdm
{

bool Transcript::add(uint32_t baseHash, Bytes base, Bytes message)
{
    if (!digest)
    {
        const EVP_MD* algorithm = digestOf(baseHash);
        digest.reset(EVP_MD_CTX_new());
        if (algorithm == nullptr || !digest ||
            EVP_DigestInit_ex(digest.get(), algorithm, nullptr) != 1 ||
            EVP_DigestUpdate(digest.get(), base.data(), base.size()) != 1)
        {
            digest.reset();
            return false;
        }
    }
    if (EVP_DigestUpdate(digest.get(), message.data(), message.size()) != 1)
    {
        digest.reset();
        return false;
    }
    return true;
}

size_t Transcript::finish(Hash& hash)
{
    unsigned int size = 0;
    if (!digest || EVP_DigestFinal_ex(digest.get(), hash.data(), &size) != 1)
    {
        size = 0;
    }
    digest.reset();
    return size;
}

bool NegotiationLog::add(Bytes message)
{
    if (message.size() > buffer.size() - used)
    {
        return false;
    }
    std::ranges::copy(message, buffer.begin() + static_cast<ptrdiff_t>(used));
    used += message.size();
    return true;
}

} // namespace spdm
