// SPDX-License-Identifier: Apache-2.0
#include "in_process.hpp"
#include "io/common/spdm/Measurements.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

// A device whose answers are changed on their way. Only the endpoint lookup
// goes over the bus.

using mctp::spdm::SpdmLib;
using sim::spdm::Bytes;

namespace
{

constexpr uint8_t challengeRequest = 0x83;
constexpr uint8_t measurementRequest = 0xe0;
// GET_VERSION, GET_CAPABILITIES and NEGOTIATE_ALGORITHMS.
constexpr std::array<uint8_t, 3> negotiation{0x84, 0xe1, 0xe3};

/** Changes one answer of a conversation, the others pass. */
class HostileDevice : public in_process::Responder
{
  public:
    // Each conversation begins with a seed of its own, the same in every run.
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp)
    HostileDevice(const std::string& spoken, sim::spdm::KeyStore& keys) :
        version(spoken),
        device(sim::spdm::parseDeviceConfig(in_process::configOf(spoken)), keys)
    {
    }

    void begin(unsigned seed)
    {
        random.seed(seed);
        answers = 0;
        challenged = false;
        changedBeforeChallenge = false;
        signedBlocks.clear();
        spoiled = nothing;
        // More than there are: some conversations are left alone.
        target = std::uniform_int_distribution<unsigned>(0, 13)(random);
    }

    bool answer(const Bytes& request, Bytes& response) override
    {
        const uint8_t code = request.at(2);
        challenged = challenged || code == challengeRequest;
        if (code == measurementRequest && (request.at(3) & 1) != 0)
        {
            signedBlocks.push_back(request.at(4));
        }
        const std::optional<Bytes> honest = device.handle(request);
        if (!honest)
        {
            return false;
        }
        response = *honest;
        if (answers++ == target)
        {
            mutate(response);
            changes = hexOf(*honest) + " -> " + hexOf(response);
            if (changesWhatIsSigned(*honest, response))
            {
                changedBeforeChallenge = code != measurementRequest;
                spoiled = blockSpoiledBy(request);
            }
        }
        return true;
    }

    /** Would success mean that something unsigned was taken for signed? */
    bool mustFail() const
    {
        return challenged && changedBeforeChallenge;
    }

    /** Do the records show a block against its signature? */
    bool isShownUnproved(const std::string& records) const
    {
        return std::any_of(signedBlocks.begin(), signedBlocks.end(),
                           [&](uint8_t block)
                           {
                               return (spoiled == everything ||
                                       spoiled == block) &&
                                      records.find("measurement block " +
                                                   std::to_string(block) +
                                                   ", ") != std::string::npos;
                           });
    }

    /** The answer as it was and as it was sent. */
    const std::string& told() const
    {
        return changes;
    }

  private:
    static std::string hexOf(const Bytes& bytes)
    {
        return mctp::spdm::hexDigits(bytes).substr(0, 400);
    }

    /** The block whose signature a change of this answer makes wrong. */
    unsigned blockSpoiledBy(const Bytes& request) const
    {
        const uint8_t code = request.at(2);
        if (code == measurementRequest)
        {
            // The first signature covers the question for their number too.
            return std::max<unsigned>(request.at(4), 1);
        }
        const bool isNegotiation =
            std::find(negotiation.begin(), negotiation.end(), code) !=
            negotiation.end();
        // From 1.2 on each signature covers the negotiation.
        return isNegotiation && version >= "1.2" ? everything : nothing;
    }

    /** Bytes behind a message are nobody's, and the requester's buffer holds
     *  zeros where a message was cut. */
    static bool changesWhatIsSigned(const Bytes& honest, Bytes changed)
    {
        changed.resize(honest.size(), 0);
        return changed != honest;
    }

    unsigned below(size_t limit)
    {
        return std::uniform_int_distribution<unsigned>(
            0, static_cast<unsigned>(limit) - 1)(random);
    }

    void mutate(Bytes& message)
    {
        switch (below(8))
        {
            case 0:
                message.resize(below(message.size() + 1));
                return;
            case 1:
                message.resize(message.size() + below(6000),
                               static_cast<uint8_t>(below(256)));
                return;
            case 2:
                for (uint8_t& byte : message)
                {
                    byte = static_cast<uint8_t>(below(256));
                }
                return;
            default:
                break;
        }
        // Near the front are the fields that lengths and counts come from.
        const size_t reach = below(2) == 0
                               ? std::min<size_t>(message.size(), 64)
                               : message.size();
        for (unsigned left = 1 + below(4); left > 0; --left)
        {
            message.at(below(reach)) = static_cast<uint8_t>(below(256));
        }
    }

    static constexpr unsigned nothing = 0;
    static constexpr unsigned everything = 255;

    std::string version;
    sim::spdm::Device device;
    std::mt19937 random;
    unsigned answers{0};
    unsigned target{0};
    std::string changes;
    bool challenged{false};
    bool changedBeforeChallenge{false};
    std::vector<uint8_t> signedBlocks; //!< asked for with a signature
    unsigned spoiled{nothing};
};

unsigned countFromEnvironment()
{
    const char* text = std::getenv("HOSTILE_COUNT");
    return text != nullptr
             ? static_cast<unsigned>(std::strtoul(text, nullptr, 10))
             : 200;
}

class Hostile : public ::testing::TestWithParam<const char*>
{
  protected:
    void SetUp() override
    {
        SpdmLib::connection = io::bus::connect();
    }

    void TearDown() override
    {
        SpdmLib::connection.reset();
    }
};

TEST_P(Hostile, nothingUnsignedIsTakenForSigned)
{
    const char* const roots = "/run/hostile/roots";
    sim::spdm::KeyStore keys(roots);
    HostileDevice device(GetParam(), keys);
    unsigned succeeded = 0;
    for (unsigned seed = 0; seed < countFromEnvironment(); ++seed)
    {
        device.begin(seed);
        testing::internal::CaptureStderr();
        const libspdm_return_t status = in_process::attest(device, roots);
        const std::string records = testing::internal::GetCapturedStderr();
        succeeded += status == 0 ? 1 : 0;
        ASSERT_FALSE(status == 0 && device.mustFail())
            << "seed " << seed << ": " << device.told();
        ASSERT_FALSE(device.isShownUnproved(records))
            << "seed " << seed << ": " << device.told() << '\n'
            << records;
    }
    // Those that were left alone, and those with a change in a block only.
    EXPECT_GT(succeeded, 0U);
    EXPECT_LT(succeeded, countFromEnvironment());
}

INSTANTIATE_TEST_SUITE_P(Versions, Hostile,
                         ::testing::Values("1.1", "1.2", "1.3"),
                         [](const auto& version)
                         {
                             std::string name = version.param;
                             name[1] = '_';
                             return name;
                         });

} // namespace
