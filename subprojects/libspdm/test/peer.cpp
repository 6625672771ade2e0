#include "peer.hpp"

#include <openssl/ec.h>
#include <openssl/ecdsa.h>

#include <algorithm>
#include <bit>
#include <memory>

namespace test
{

namespace
{

constexpr uint8_t version12 = 0x12;
constexpr uint8_t version13 = 0x13;

void append(Message& to, const Message& what)
{
    to.insert(to.end(), what.begin(), what.end());
}

void append16(Message& to, size_t value)
{
    to.push_back(static_cast<uint8_t>(value));
    to.push_back(static_cast<uint8_t>(value >> 8));
}

void append32(Message& to, uint32_t value)
{
    append16(to, value & 0xFFFF);
    append16(to, value >> 16);
}

size_t read16(const Message& from, size_t at)
{
    return from.at(at) | size_t{from.at(at + 1)} << 8;
}

/** Raw r and s from OpenSSL's DER form. */
Message toRaw(const Message& der, size_t half)
{
    const unsigned char* at = der.data();
    std::unique_ptr<ECDSA_SIG, Free<ECDSA_SIG_free>> pair(
        d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(der.size())));
    Message raw(2 * half);
    BN_bn2binpad(ECDSA_SIG_get0_r(pair.get()), raw.data(),
                 static_cast<int>(half));
    BN_bn2binpad(ECDSA_SIG_get0_s(pair.get()), raw.data() + half,
                 static_cast<int>(half));
    return raw;
}

} // namespace

Message hashOf(const Message& bytes)
{
    Message hash(48);
    EVP_Digest(bytes.data(), bytes.size(), hash.data(), nullptr, EVP_sha384(),
               nullptr);
    return hash;
}

Peer::Peer(const PeerSettings& chosen, const Pki& identity) :
    settings(chosen),
    pki(identity),
    chain(makeChain(identity.root, identity.row()))
{
}

Message Peer::header(uint8_t code, uint8_t param1, uint8_t param2) const
{
    return {settings.version, code, param1, param2};
}

Message Peer::version() const
{
    return {0x10, 0x04, 0, 0, 0, 2, 0, 0x10, 0, settings.version};
}

Message Peer::capabilities() const
{
    uint32_t flags = 0x06 | (settings.isSigning ? 0x10U : 0x08U);
    flags |= settings.chunk != 0 ? 0x20000U : 0;
    flags |= settings.multiKey ? 0x14000000U : 0;
    Message message = header(0x61, 0, 0);
    append32(message, 0);
    append32(message, flags);
    if (settings.version >= version12)
    {
        append32(message, settings.chunk != 0 ? settings.chunk : 0x1200);
        append32(message, 0x1200);
    }
    return message;
}

Message Peer::algorithms(const Message& request) const
{
    Message message = header(0x63, 0, 0);
    append16(message, 36);
    message.push_back(1);
    message.push_back(settings.version >= version12 ? 2 : 0);
    append32(message, 4);
    append32(message, settings.baseAsym);
    append32(message, 2);
    message.resize(36);
    static_cast<void>(request);
    return message;
}

Message Peer::digests() const
{
    Message message = header(0x01, settings.slots, settings.slots);
    int count = std::popcount(settings.slots);
    for (int i = 0; i < count; ++i)
    {
        append(message, hashOf(chain));
    }
    if (settings.multiKey)
    {
        Message fields(static_cast<size_t>(count), 5);
        append(message, fields);
        append(message, Message(static_cast<size_t>(count), 1));
        for (int i = 0; i < count; ++i)
        {
            append16(message, 6);
        }
    }
    return message;
}

Message Peer::certificate(const Message& request) const
{
    size_t offset = std::min(read16(request, 4), chain.size());
    size_t size = std::min(read16(request, 6), chain.size() - offset);
    Message message =
        header(0x02, request[2], settings.multiKey ? uint8_t{1} : uint8_t{0});
    append16(message, size);
    append16(message, chain.size() - offset - size);
    auto begin = chain.begin() + static_cast<ptrdiff_t>(offset);
    message.insert(message.end(), begin, begin + static_cast<ptrdiff_t>(size));
    return message;
}

Message Peer::sign(const Message& transcript, const std::string& purpose) const
{
    Message hash = hashOf(transcript);
    if (settings.version >= version12)
    {
        std::string prefix = "dmtf-spdm-v1.2.*";
        prefix[13] = static_cast<char>('0' + (settings.version & 0x0F));
        std::string text = prefix + prefix + prefix + prefix;
        text.resize(100 - purpose.size(), '\0');
        text += purpose;
        Message combined(text.begin(), text.end());
        append(combined, hash);
        hash = hashOf(combined);
    }
    std::unique_ptr<EVP_PKEY_CTX, Free<EVP_PKEY_CTX_free>> context(
        EVP_PKEY_CTX_new(pki.leafKey.get(), nullptr));
    Message der(160);
    size_t size = der.size();
    EVP_PKEY_sign_init(context.get());
    EVP_PKEY_sign(context.get(), der.data(), &size, hash.data(), hash.size());
    der.resize(size);
    return toRaw(der, 48);
}

Message Peer::challengeAuth(const Message& request)
{
    Message message = header(0x03, request[2], settings.slots);
    append(message, hashOf(chain));
    append(message, Message(32, 0x77));
    if (request[3] != 0)
    {
        append(message, Message(48, 0x66));
    }
    append16(message, 0);
    if (settings.version >= version13)
    {
        message.insert(message.end(), request.end() - 8, request.end());
    }
    append(m1, request);
    append(m1, message);
    append(message, sign(m1, "responder-challenge_auth signing"));
    m1 = {};
    return message;
}

Message Peer::measurements(const Message& request)
{
    bool isSigned = (request[2] & 1) != 0;
    uint8_t operation = request[3];
    uint8_t slot = isSigned && settings.version > 0x10 ? request.at(36) : 0;
    Message record;
    if (operation != 0)
    {
        record = {operation, 1};
        append16(record, settings.valueSize + 3);
        record.push_back(1);
        append16(record, settings.valueSize);
        append(record, Message(settings.valueSize, operation));
    }
    Message message =
        header(0x60, operation == 0 ? settings.blocks : uint8_t{0}, slot);
    message.push_back(operation == 0 ? 0 : 1);
    append16(message, record.size());
    message.push_back(0);
    append(message, record);
    append(message, Message(32, 0x55));
    append16(message, 0);
    if (settings.version >= version13)
    {
        message.insert(message.end(), request.end() - 8, request.end());
    }
    if (l1.empty() && settings.version >= version12)
    {
        l1 = negotiation;
    }
    append(l1, request);
    append(l1, message);
    if (isSigned)
    {
        append(message, sign(l1, "responder-measurements signing"));
        l1 = {};
    }
    return message;
}

void Peer::remember(const Message& request, const Message& response)
{
    switch (request[1])
    {
        case 0x84:
            negotiation = {};
            [[fallthrough]];
        case 0xE1:
        case 0xE3:
            append(negotiation, request);
            append(negotiation, response);
            m1 = negotiation;
            break;
        case 0x81:
            m1 = negotiation;
            [[fallthrough]];
        case 0x82:
            append(m1, request);
            append(m1, response);
            break;
        default:
            break;
    }
    if (request[1] != 0xE0)
    {
        l1 = {};
    }
}

Message Peer::dispatch(const Message& request)
{
    switch (request[1])
    {
        case 0x84:
            return version();
        case 0xE1:
            return capabilities();
        case 0xE3:
            return algorithms(request);
        case 0x81:
            return digests();
        case 0x82:
            return certificate(request);
        case 0x83:
            if (m1.empty())
            {
                m1 = negotiation;
            }
            return challengeAuth(request);
        case 0xE0:
            return measurements(request);
        default:
            return header(0x7F, 0x07, request[1]);
    }
}

Message Peer::inChunks(const Message& response)
{
    if (settings.chunk == 0 || response.size() <= settings.chunk)
    {
        return response;
    }
    large = response;
    largeSent = 0;
    Message error = header(0x7F, 0x0F, 0);
    error.push_back(9);
    return error;
}

Message Peer::chunk(const Message& request)
{
    bool isFirst = largeSent == 0;
    size_t room = settings.chunk - 12 - (isFirst ? 4 : 0);
    size_t size = std::min(room, large.size() - largeSent);
    bool isLast = largeSent + size == large.size();
    Message message = header(0x06, isLast ? uint8_t{1} : uint8_t{0}, 9);
    append16(message, read16(request, 4));
    append16(message, 0);
    append32(message, static_cast<uint32_t>(size));
    if (isFirst)
    {
        append32(message, static_cast<uint32_t>(large.size()));
    }
    auto begin = large.begin() + static_cast<ptrdiff_t>(largeSent);
    message.insert(message.end(), begin, begin + static_cast<ptrdiff_t>(size));
    largeSent += size;
    return message;
}

Message Peer::answer(const Message& request)
{
    if (request[1] == 0x86)
    {
        return chunk(request);
    }
    Message response = dispatch(request);
    remember(request, response);
    return inChunks(response);
}

} // namespace test
