// SPDX-License-Identifier: Apache-2.0
// What a signature covers it proves to be the device's, not to be right: the
// device may lie, and sign that. So each check is looked at behind a signature
// that holds.

#include "test/spdm/certificates.hpp"
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>

namespace
{

using test::Message;
using test::Session;

constexpr uint8_t version = 0x84;
constexpr uint8_t capabilities = 0xE1;
constexpr uint8_t algorithms = 0xE3;
constexpr uint8_t digests = 0x81;
constexpr uint8_t certificate = 0x82;
constexpr uint8_t challenge = 0x83;
constexpr uint8_t measurements = 0xE0;

constexpr size_t hashSize = 48;
constexpr size_t signatureSize = 96;
// Of CHALLENGE_AUTH without a summary hash: transport, header, hash, nonce.
constexpr size_t challengeOpaque = 5 + hashSize + 32;

void append(Message& whole, const Message& part)
{
    // Without the transport's byte.
    whole.insert(whole.end(), part.begin() + 1, part.end());
}

/** A device with a chain of the test's, so that what it says can be changed
 *  before it is signed. */
class Liar
{
  public:
    /** Changes an answer to a request of that code. */
    using Lie = std::function<void(uint8_t request, Message& answer)>;

    explicit Liar(Lie change = {}, const test::Settings& settings = {},
                  test::Use use = {}) :
        session(
            test::deviceOf(settings),
            [this](size_t, Message& answer)
            {
                tell(session.sent.back(), answer);
                return test::Delivery::normal;
            },
            use),
        lie(std::move(change)),
        chain(test::makeChain(pki.root, pki.row()))
    {
    }

    /** The status of a challenge after all that leads to it. */
    libspdm_return_t challenged()
    {
        connect();
        EXPECT_EQ(session.digests(), 0U);
        EXPECT_EQ(session.readChain(), 0U);
        return session.challenge();
    }

    /** The status of signed measurements of a block. */
    libspdm_return_t measured(uint8_t block = 1)
    {
        connect();
        EXPECT_EQ(session.readChain(), 0U);
        return session.measure(block, true);
    }

    void connect()
    {
        EXPECT_EQ(session.connect(), 0U);
    }

    test::Pki pki;
    Session session;
    /** What measurements sign; a test may know better than the requester. */
    Message measuring;

  private:
    void tell(const Message& request, Message& answer)
    {
        const uint8_t code = request[2];
        if (code == certificate)
        {
            answer.resize(5);
            answer = test::join({answer, portion(request)});
        }
        if (code == challenge)
        {
            const Message hash = test::hashOf("SHA384", chain);
            std::copy(hash.begin(), hash.end(), answer.begin() + 5);
        }
        if (lie)
        {
            lie(code, answer);
        }
        remember(code, request, answer);
    }

    void remember(uint8_t code, const Message& request, Message& answer)
    {
        const bool isNegotiation =
            code == version || code == capabilities || code == algorithms;
        Message& said = isNegotiation        ? negotiation
                      : code == measurements ? measuring
                                             : proving;
        if (code == version || code == digests)
        {
            said.clear();
        }
        append(said, request);
        const bool isSigned = code == challenge ||
                              (code == measurements && (request[3] & 1) != 0);
        append(said, isSigned ? withoutSignature(answer) : answer);
        if (isSigned)
        {
            sign(answer, said,
                 code == challenge ? "responder-challenge_auth signing"
                                   : "responder-measurements signing");
            said.clear();
        }
    }

    static Message withoutSignature(const Message& answer)
    {
        return {answer.begin(), answer.end() - signatureSize};
    }

    /** Length, what is left behind it, and bytes as they are asked for. */
    Message portion(const Message& request) const
    {
        const size_t from = request.at(5) | request.at(6) << 8;
        const size_t asked = request.at(7) | request.at(8) << 8;
        const size_t size = std::min(asked, chain.size() - from);
        const size_t left = chain.size() - from - size;
        Message bytes{
            static_cast<uint8_t>(size), static_cast<uint8_t>(size >> 8),
            static_cast<uint8_t>(left), static_cast<uint8_t>(left >> 8)};
        const auto* begin = chain.data() + from;
        bytes.insert(bytes.end(), begin, begin + size);
        return bytes;
    }

    void sign(Message& answer, const Message& said, std::string_view purpose)
    {
        const uint8_t minor = answer.at(1) & 0x0F;
        const bool coversAll =
            minor >= 2 || purpose.find("challenge") != purpose.npos;
        const Message whole =
            coversAll ? test::join({negotiation, said}) : said;
        Message hash = test::hashOf("SHA384", whole);
        if (minor >= 2)
        {
            std::string prefix;
            for (int i = 0; i < 4; ++i)
            {
                prefix += "dmtf-spdm-v1." + std::to_string(minor) + ".*";
            }
            prefix.resize(100 - purpose.size());
            prefix += purpose;
            hash = test::hashOf(
                "SHA384", test::join({{prefix.begin(), prefix.end()}, hash}));
        }
        EVP_PKEY_up_ref(pki.leafKey.get());
        const sim::spdm::Key key(pki.leafKey.get(), EVP_PKEY_free);
        const Message signature =
            sim::spdm::signDigest(key, sim::spdm::Curve::p384, hash);
        std::copy(signature.begin(), signature.end(),
                  answer.end() - signatureSize);
    }

    Lie lie;
    Message chain;
    Message negotiation;
    Message proving;
};

/** Says something else at one place of the answers to one request. */
Liar::Lie at(uint8_t wanted, size_t offset, uint8_t value)
{
    return [=](uint8_t request, Message& answer)
    {
        if (request == wanted && answer.size() > offset)
        {
            answer[offset] = value;
        }
    };
}

TEST(Liar, isBelievedWhereItTellsTheTruth)
{
    for (const uint8_t spoken : {0x10, 0x11, 0x12, 0x13})
    {
        EXPECT_EQ(Liar({}, {.version = spoken}).challenged(), 0U);
        EXPECT_EQ(Liar({}, {.version = spoken}).measured(), 0U);
    }
}

TEST(Liar, cannotChallengeWithAnotherChain)
{
    Liar liar(
        [](uint8_t request, Message& answer)
        {
            if (request == challenge)
            {
                answer[20] ^= 1;
            }
        });
    EXPECT_EQ(liar.challenged(), LIBSPDM_STATUS_VERIF_FAIL);
}

TEST(Liar, mustHaveTheSlotThatItIsChallengedFor)
{
    EXPECT_EQ(Liar(at(challenge, 4, 0xFF)).challenged(), 0U);
    EXPECT_EQ(Liar(at(challenge, 4, 0xFE)).challenged(),
              LIBSPDM_STATUS_INVALID_MSG_FIELD);
    EXPECT_EQ(Liar(at(challenge, 3, 0x01)).challenged(),
              LIBSPDM_STATUS_INVALID_MSG_FIELD);
}

TEST(Liar, mustReturnTheRequestersContext)
{
    for (const uint8_t asked : {challenge, measurements})
    {
        Liar liar(
            [asked](uint8_t request, Message& answer)
            {
                if (request == asked)
                {
                    answer.end()[-1 - ptrdiff_t{signatureSize}] ^= 1;
                }
            },
            {.version = 0x13});
        EXPECT_EQ(asked == challenge ? liar.challenged() : liar.measured(),
                  LIBSPDM_STATUS_INVALID_MSG_FIELD);
    }
}

TEST(Liar, cannotMeasureSomethingElse)
{
    struct Row
    {
        const char* what;
        size_t offset;
        uint8_t value;
    };

    for (const Row& row :
         {Row{"another block", 9, 2}, Row{"no block", 9, 0},
          Row{"a specification that was not selected", 10, 2},
          Row{"no specification", 10, 0}, Row{"a longer value", 11, 52},
          Row{"two blocks", 5, 2}, Row{"another slot", 4, 1}})
    {
        EXPECT_EQ(Liar(at(measurements, row.offset, row.value)).measured(),
                  LIBSPDM_STATUS_INVALID_MSG_FIELD)
            << row.what;
    }
}

/** What is handed over of content that changed. */
uint8_t change(Liar& liar, bool isSigned, libspdm_return_t expected)
{
    uint8_t changed = 0xEE;
    uint8_t blocks = 0;
    std::array<uint8_t, 4096> record{};
    uint32_t length = record.size();
    EXPECT_EQ(libspdm_get_measurement_ex2(
                  liar.session.context(), nullptr, isSigned ? 1 : 0, 1, 0,
                  nullptr, &changed, &blocks, &length, record.data(), nullptr,
                  nullptr, nullptr, nullptr, nullptr),
              expected);
    return changed;
}

TEST(Liar, saysOnlyUnderASignatureThatItsContentChanged)
{
    struct Row
    {
        uint8_t version;
        bool isSigned;
        libspdm_return_t status;
        uint8_t changed;
    };

    constexpr libspdm_return_t refused = LIBSPDM_STATUS_INVALID_MSG_FIELD;
    for (const Row& row :
         {Row{0x11, false, 0, 0}, Row{0x11, true, 0, 0},
          Row{0x12, false, refused, 0xEE}, Row{0x12, true, 0, 0x20},
          Row{0x13, false, refused, 0xEE}, Row{0x13, true, 0, 0x20}})
    {
        Liar liar(at(measurements, 4, 0x20), {.version = row.version});
        liar.connect();
        EXPECT_EQ(liar.session.readChain(), 0U);
        EXPECT_EQ(change(liar, row.isSigned, row.status), row.changed)
            << int{row.version} << row.isSigned;
    }
}

/** Puts opaque data into CHALLENGE_AUTH. */
Liar::Lie withOpaque(const Message& opaque)
{
    return [opaque](uint8_t request, Message& answer)
    {
        if (request == challenge)
        {
            answer[challengeOpaque] = static_cast<uint8_t>(opaque.size());
            answer[challengeOpaque + 1] =
                static_cast<uint8_t>(opaque.size() >> 8);
            answer.insert(answer.begin() + challengeOpaque + 2, opaque.begin(),
                          opaque.end());
        }
    };
}

TEST(Liar, hasAKilobyteForOpaqueData)
{
    const test::Settings old{.version = 0x11};
    EXPECT_EQ(Liar(withOpaque(Message(1024, 9)), old).challenged(), 0U);
    EXPECT_EQ(Liar(withOpaque(Message(1025, 9)), old).challenged(),
              LIBSPDM_STATUS_INVALID_MSG_FIELD);
}

TEST(Liar, hasOpaqueDataInTheFormatThatWasSelected)
{
    const Message good{1, 0, 0, 0, 0, 0, 4, 0, 1, 2, 3, 4};
    EXPECT_EQ(Liar(withOpaque(good)).challenged(), 0U);
    EXPECT_EQ(Liar(withOpaque({9, 9, 9, 9})).challenged(),
              LIBSPDM_STATUS_INVALID_MSG_FIELD);
    // ALGORITHMS without a format, so there may be no such data.
    EXPECT_EQ(Liar(at(algorithms, 8, 0)).challenged(), 0U);
    const auto told = withOpaque(good);
    Liar liar(
        [told](uint8_t request, Message& answer)
        {
            at(algorithms, 8, 0)(request, answer);
            told(request, answer);
        });
    EXPECT_EQ(liar.challenged(), LIBSPDM_STATUS_INVALID_MSG_FIELD);
}

TEST(Liar, isHeardOutOnlyIntoRoomThatIsThere)
{
    const Message opaque{1, 0, 0, 0, 0, 0, 4, 0, 1, 2, 3, 4};
    for (const size_t room : {opaque.size(), opaque.size() + 1})
    {
        Liar liar(withOpaque(opaque));
        liar.connect();
        EXPECT_EQ(liar.session.digests(), 0U);
        EXPECT_EQ(liar.session.readChain(), 0U);
        Message taken(room, 0xEE);
        size_t size = room;
        const bool fits = room > opaque.size();
        EXPECT_EQ(libspdm_challenge_ex2(liar.session.context(), nullptr, 0,
                                        nullptr, 0, nullptr, nullptr, nullptr,
                                        nullptr, nullptr, taken.data(), &size),
                  fits ? 0U : LIBSPDM_STATUS_BUFFER_TOO_SMALL);
        taken.resize(opaque.size());
        EXPECT_EQ(taken, fits ? opaque : Message(opaque.size(), 0xEE));
        EXPECT_EQ(size, opaque.size());
    }
}

TEST(Measuring, beginsAnewAfterAFailure)
{
    bool isLying = false;
    Liar liar(
        [&](uint8_t request, Message& answer)
        { answer[5] = isLying && request == measurements ? 9 : answer[5]; });
    liar.connect();
    EXPECT_EQ(liar.session.readChain(), 0U);
    EXPECT_EQ(liar.session.measure(1, false), 0U);
    isLying = true;
    EXPECT_EQ(liar.session.measure(1, false), LIBSPDM_STATUS_INVALID_MSG_FIELD);
    isLying = false;
    liar.measuring.clear();
    EXPECT_EQ(liar.session.measure(1, true), 0U);
}

TEST(Measuring, beginsAnewAfterOtherRequests)
{
    const std::vector<std::function<libspdm_return_t(Session&)>> requests{
        [](Session& session) { return session.digests(); },
        [](Session& session) { return session.readChain(); },
        [](Session& session) { return session.challenge(); }};
    for (const auto& request : requests)
    {
        Liar liar;
        EXPECT_EQ(liar.challenged(), 0U);
        EXPECT_EQ(liar.session.measure(1, false), 0U);
        EXPECT_EQ(request(liar.session), 0U);
        liar.measuring.clear();
        EXPECT_EQ(liar.session.measure(1, true), 0U);
    }
}

TEST(Measuring, everySlotHasItsKey)
{
    for (const bool isSpoilt : {false, true})
    {
        Session session(test::deviceOf(test::Settings{.slots = 5}),
                        [isSpoilt](size_t, Message& answer)
                        {
                            answer.back() ^=
                                isSpoilt && answer[2] == 0x60 ? 1 : 0;
                            return test::Delivery::normal;
                        });
        EXPECT_EQ(session.connect(), 0U);
        // Nothing is proven by the key of a slot whose chain is not known.
        EXPECT_EQ(session.readChain(0), 0U);
        EXPECT_EQ(session.measure(1, true, 2), LIBSPDM_STATUS_VERIF_FAIL);
        EXPECT_EQ(session.readChain(2), 0U);
        EXPECT_EQ(session.measure(1, true, 2),
                  isSpoilt ? LIBSPDM_STATUS_VERIF_FAIL : 0U);
    }
}

int noNumbers(unsigned char* /*bytes*/, int /*count*/)
{
    return 0;
}

int seeded()
{
    return 1;
}

TEST(Nonces, withoutRandomNumbersNothingIsAsked)
{
    Liar liar;
    EXPECT_EQ(liar.challenged(), 0U);
    const size_t asked = liar.session.sent.size();
    const RAND_METHOD* const usual = RAND_get_rand_method();
    const RAND_METHOD none{nullptr, noNumbers, nullptr,
                           nullptr, noNumbers, seeded};
    RAND_set_rand_method(&none);
    EXPECT_EQ(liar.session.challenge(), LIBSPDM_STATUS_LOW_ENTROPY);
    EXPECT_EQ(liar.session.measure(1, true), LIBSPDM_STATUS_LOW_ENTROPY);
    RAND_set_rand_method(usual);
    EXPECT_EQ(liar.session.sent.size(), asked);
    EXPECT_EQ(liar.session.acquired, 0);
}

} // namespace
