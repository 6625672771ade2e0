// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>

namespace
{

using test::Message;

// A fixed seed, so that a failure can be found again. More rounds than the
// suite's by the environment variable.
constexpr unsigned int seed = 20260;

unsigned long rounds()
{
    const char* asked = std::getenv("SPDM_MUTATIONS");
    return asked != nullptr ? std::strtoul(asked, nullptr, 10) : 1000;
}

class Mutator
{
  public:
    size_t below(size_t limit)
    {
        return limit == 0 ? 0 : generator() % limit;
    }

    void change(Message& answer)
    {
        switch (below(5))
        {
            case 0:
                answer.resize(below(answer.size() + 1));
                break;
            case 1:
                answer.resize(answer.size() + below(5000), 0xFF);
                break;
            case 2:
                std::fill(answer.begin() + offset(answer), answer.end(),
                          static_cast<uint8_t>(below(256)));
                break;
            default:
                for (size_t left = 1 + below(4); left > 0 && !answer.empty();
                     --left)
                {
                    answer[below(answer.size())] ^=
                        static_cast<uint8_t>(1 + below(255));
                }
                break;
        }
    }

  private:
    ptrdiff_t offset(const Message& answer)
    {
        return static_cast<ptrdiff_t>(below(answer.size()));
    }

    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): to be repeated, not secret.
    std::mt19937 generator{seed};
};

/** Whether a mutation left what the signature covers, and it, as they were.
 * Where the length is not told, zeros that are cut off may still be there. */
bool isIntact(const Message& honest, const Message& changed, bool tellsLength)
{
    size_t common = std::min(honest.size(), changed.size());
    bool missing = std::any_of(
        honest.begin() + static_cast<ptrdiff_t>(common), honest.end(),
        [tellsLength](uint8_t byte) { return tellsLength || byte != 0; });
    return !missing &&
           std::equal(honest.begin(),
                      honest.begin() + static_cast<ptrdiff_t>(common),
                      changed.begin());
}

/** The second block as the peer has it. */
Message expectedRecord()
{
    Message record{2, 1, 51, 0, 1, 48, 0};
    record.resize(record.size() + 48, 2);
    return record;
}

/** What an undisturbed requester reads. */
const Message& chainOf(test::Device& device)
{
    static std::map<const test::Device*, Message> chains;
    Message& chain = chains[&device];
    if (chain.empty())
    {
        chain = test::Session(device).attest().chain;
    }
    return chain;
}

TEST(Mutation, neverAcceptsAnAnswerThatWasNotSigned)
{
    Mutator mutator;
    size_t refused = 0;
    for (unsigned long round = 0; round < rounds(); ++round)
    {
        test::Settings settings{
            .version = static_cast<uint8_t>(0x10 + mutator.below(4)),
            .slots = static_cast<uint8_t>(mutator.below(2) * 2 + 1),
            .blocks = 2};
        settings.multiKey = settings.version == 0x13 && mutator.below(2) == 0;
        settings.chunk =
            settings.version >= 0x12 && mutator.below(2) == 0 ? 128 : 0;
        size_t wanted = mutator.below(settings.chunk != 0 ? 30 : 10);
        bool intact = true;
        bool tellsLength = mutator.below(2) == 0;
        test::Device& device = test::deviceOf(settings);
        const Message& chain = chainOf(device);
        test::Session session(device,
                              [&](size_t step, Message& answer)
                              {
                                  if (step == wanted)
                                  {
                                      Message honest = answer;
                                      mutator.change(answer);
                                      intact =
                                          isIntact(honest, answer, tellsLength);
                                  }
                                  return test::Delivery::normal;
                              },
                              {.tellsLength = tellsLength});
        test::Message root = test::trustedRoot();
        session.addRoot(root);
        test::Outcome outcome = session.attest();
        bool all = outcome.challenge == 0 && outcome.count == 0 &&
                   outcome.blocks == std::vector<libspdm_return_t>(2, 0);
        // Chunks are not covered themselves, what they are parts of is.
        bool isCovered = settings.chunk == 0;
        EXPECT_TRUE(intact || !all || !isCovered)
            << "round " << round << " step " << wanted;
        if (all)
        {
            EXPECT_EQ(outcome.chain, chain);
            EXPECT_EQ(outcome.record, expectedRecord());
        }
        EXPECT_EQ(session.acquired, 0);
        // 254 blocks at most, each in a few chunks.
        EXPECT_LT(session.sent.size(), 1500U);
        refused += all ? 0 : 1;
    }
    EXPECT_GT(refused, rounds() / 3);
}

} // namespace
