#include "test/spdm/responder/peer.hpp"

#include "sim/spdm/bytes.hpp"
#include "sim/spdm/openssl_owner.hpp"

#include <gtest/gtest.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

namespace spdm_test
{

using sim::spdm::check;
using sim::spdm::Owner;
using Certificate = Owner<X509, X509_free>;

namespace
{

Certificate parse(const Bytes& der)
{
    const unsigned char* data = der.data();
    return Certificate(
        check(d2i_X509(nullptr, &data, static_cast<long>(der.size())),
              "certificate"));
}

/** The stack only; its certificates have owners. */
void freeStack(STACK_OF(X509) * stack)
{
    sk_X509_free(stack);
}

Bytes derSignature(const Bytes& raw)
{
    Owner<ECDSA_SIG, ECDSA_SIG_free> signature(
        check(ECDSA_SIG_new(), "signature"));
    int half = static_cast<int>(raw.size() / 2);
    check(ECDSA_SIG_set0(signature.get(), BN_bin2bn(raw.data(), half, nullptr),
                         BN_bin2bn(&raw[raw.size() / 2], half, nullptr)),
          "r and s");
    unsigned char* der = nullptr;
    int size = check(i2d_ECDSA_SIG(signature.get(), &der), "signature");
    Bytes result(der, der + size);
    OPENSSL_free(der);
    return result;
}

} // namespace

bool signedBy(const Bytes& certificate, const char* hash, const Bytes& message,
              const Bytes& raw)
{
    Certificate parsed = parse(certificate);
    Owner<EVP_MD_CTX, EVP_MD_CTX_free> context(
        check(EVP_MD_CTX_new(), "context"));
    check(EVP_DigestVerifyInit_ex(context.get(), nullptr, hash, nullptr,
                                  nullptr, X509_get0_pubkey(parsed.get()),
                                  nullptr),
          "verify init");
    Bytes der = derSignature(raw);
    return EVP_DigestVerify(context.get(), der.data(), der.size(),
                            message.data(), message.size()) == 1;
}

std::vector<Bytes> splitCertificates(View chain)
{
    std::vector<Bytes> result;
    const unsigned char* at = chain.data();
    const unsigned char* end = at + chain.size();
    while (at != end)
    {
        const unsigned char* next = at;
        Certificate one(d2i_X509(nullptr, &next, end - at));
        if (!one)
        {
            return {};
        }
        result.emplace_back(at, next);
        at = next;
    }
    return result;
}

bool chainVerifies(const std::vector<Bytes>& chain, const Bytes& root)
{
    Owner<X509_STORE, X509_STORE_free> trusted(X509_STORE_new());
    X509_STORE_add_cert(trusted.get(), parse(root).get());
    std::vector<Certificate> owned;
    Owner<STACK_OF(X509), freeStack> between(sk_X509_new_null());
    for (const Bytes& der : chain)
    {
        owned.push_back(parse(der));
        sk_X509_push(between.get(), owned.back().get());
    }
    Certificate leaf = parse(chain.back());
    Owner<X509_STORE_CTX, X509_STORE_CTX_free> context(X509_STORE_CTX_new());
    X509_STORE_CTX_init(context.get(), trusted.get(), leaf.get(),
                        between.get());
    return X509_verify_cert(context.get()) == 1;
}

Peer::Peer(const std::string& json) :
    device(sim::spdm::parseDeviceConfig(sim::Json::parse(json)), keyStore())
{
}

Bytes Peer::ask(const Bytes& request)
{
    lastRequest = request;
    std::optional<Bytes> answer = device.handle(join({{0x05}, request}));
    if (!answer || answer->empty() || answer->front() != 0x05)
    {
        ADD_FAILURE() << "no SPDM answer";
        return Bytes(4);
    }
    return Bytes(answer->begin() + 1, answer->end());
}

Bytes Peer::header(uint8_t code, uint8_t param1, uint8_t param2) const
{
    return {version, code, param1, param2};
}

Bytes Peer::context() const
{
    return version >= 0x13 ? hex("0102030405060708") : Bytes{};
}

void Peer::negotiate(const Bytes& request, uint8_t code)
{
    Bytes answer = ask(request);
    ASSERT_EQ(answer[1], code);
    a = join({a, request, answer});
}

void Peer::connect(uint8_t wanted)
{
    version = 0x10;
    a.clear();
    b.clear();
    m.clear();
    negotiate(header(0x84), 0x04);
    version = wanted;
    sim::spdm::Writer capabilities;
    capabilities.bytes(header(0xe1));
    if (version >= 0x11)
    {
        capabilities.u32(0).u32(version >= 0x12 ? flags : flags & 0xffff);
    }
    if (version >= 0x12)
    {
        capabilities.u32(transferSize).u32(65536);
    }
    negotiate(capabilities.view(), 0x61);
    sim::spdm::Writer algorithms;
    algorithms.bytes(header(0xe3)).u16(32).u8(1);
    algorithms.u8(version >= 0x12 ? otherParams : 0).u32(0x90).u32(7);
    algorithms.zeros(16);
    negotiate(algorithms.view(), 0x63);
}

Bytes Peer::askCertificates(const Bytes& request)
{
    Bytes answer = ask(request);
    b = join({b, request, answer});
    m.clear();
    return answer;
}

Bytes Peer::getDigests()
{
    b.clear();
    return askCertificates(header(0x81));
}

Bytes Peer::readChain(uint8_t slot, uint16_t block)
{
    Bytes chain;
    size_t rest = 1;
    while (rest > 0)
    {
        sim::spdm::Writer request;
        request.bytes(header(0x82, slot));
        request.u16(static_cast<uint16_t>(chain.size())).u16(block);
        Bytes answer = askCertificates(request.view());
        size_t portion = answer[4] | answer[5] << 8;
        if (answer[1] != 0x02 || answer.size() != 8 + portion || portion == 0)
        {
            ADD_FAILURE() << "no certificate portion";
            return {};
        }
        chain.insert(chain.end(), answer.begin() + 8, answer.end());
        rest = answer[6] | answer[7] << 8;
    }
    readLeafFrom(slot, chain);
    return chain;
}

void Peer::readLeafFrom(uint8_t slot, const Bytes& chain)
{
    std::vector<Bytes> certificates =
        splitCertificates(View(chain).subspan(4 + 48));
    if (!certificates.empty())
    {
        leaves[slot] = certificates.back();
    }
}

Bytes Peer::challenge(uint8_t slot, uint8_t summary)
{
    m.clear();
    return ask(join({header(0x83, slot, summary), Bytes(32, 0x5a), context()}));
}

Bytes Peer::measure(uint8_t operation, bool withSignature, uint8_t slot)
{
    Bytes nonce(withSignature ? 32 : 0, 0xc3);
    Bytes slotByte(withSignature && version >= 0x11 ? 1 : 0, slot);
    Bytes answer = ask(join({header(0xe0, withSignature ? 1 : 0, operation),
                             nonce, slotByte, context()}));
    size_t signature = withSignature ? 96 : 0;
    m = join({m, lastRequest, Bytes(answer.begin(), answer.end() - signature)});
    return answer;
}

bool Peer::verifies(uint8_t slot, const std::string& purpose,
                    const Bytes& transcript, const Bytes& answer)
{
    Bytes signature(answer.end() - 96, answer.end());
    if (version < 0x12)
    {
        return signedBy(leaves.at(slot), "SHA384", transcript, signature);
    }
    std::string text;
    for (int i = 0; i < 4; i++)
    {
        text += version == 0x12 ? "dmtf-spdm-v1.2.*" : "dmtf-spdm-v1.3.*";
    }
    text += std::string(36 - purpose.size(), '\0') + purpose;
    Bytes message =
        join({Bytes(text.begin(), text.end()), hashOf("SHA384", transcript)});
    return signedBy(leaves.at(slot), "SHA384", message, signature);
}

bool Peer::challengeVerifies(uint8_t slot, const Bytes& answer)
{
    Bytes body(answer.begin(), answer.end() - 96);
    Bytes transcript = join({a, b, lastRequest, body});
    b.clear();
    return verifies(slot, "responder-challenge_auth signing", transcript,
                    answer);
}

bool Peer::measurementVerifies(uint8_t slot, const Bytes& answer)
{
    Bytes transcript = version >= 0x12 ? join({a, m}) : m;
    m.clear();
    return verifies(slot, "responder-measurements signing", transcript, answer);
}

} // namespace spdm_test
