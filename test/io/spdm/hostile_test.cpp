#include "in_process.hpp"
#include "io/common/spdm/Measurements.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

// A device whose answers are changed on their way. Only the endpoint lookup
// goes over the bus.

using mctp::spdm::SpdmLib;
using sim::spdm::Bytes;

namespace
{

constexpr uint8_t challengeRequest = 0x83;

/** Changes one answer of a conversation, the others pass. */
class HostileDevice : public in_process::Responder
{
  public:
    // Each conversation begins with a seed of its own, the same in every run.
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp)
    HostileDevice(const nlohmann::json& config, sim::spdm::KeyStore& keys) :
        device(sim::spdm::parseDeviceConfig(config), keys)
    {
    }

    void begin(unsigned seed)
    {
        random.seed(seed);
        answers = 0;
        challenged = false;
        changedBeforeChallenge = false;
        // More than there are: some conversations are left alone.
        target = std::uniform_int_distribution<unsigned>(0, 13)(random);
    }

    bool answer(const Bytes& request, Bytes& response) override
    {
        challenged = challenged || request.at(2) == challengeRequest;
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
            changedBeforeChallenge = changesWhatIsSigned(*honest, response) &&
                                     isSignedByChallenge(request.at(2));
        }
        return true;
    }

    /** Would success mean that something unsigned was taken for signed? */
    bool mustFail() const
    {
        return challenged && changedBeforeChallenge;
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

    static bool isSignedByChallenge(uint8_t request)
    {
        return request != 0xe0;
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

    sim::spdm::Device device;
    std::mt19937 random;
    unsigned answers{0};
    unsigned target{0};
    std::string changes;
    bool challenged{false};
    bool changedBeforeChallenge{false};
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

TEST_P(Hostile, NothingUnsignedIsTakenForSigned)
{
    const char* const roots = "/run/hostile/roots";
    sim::spdm::KeyStore keys(roots);
    HostileDevice device(in_process::configOf(GetParam()), keys);
    unsigned succeeded = 0;
    for (unsigned seed = 0; seed < countFromEnvironment(); ++seed)
    {
        device.begin(seed);
        const libspdm_return_t status = in_process::attest(device, roots);
        succeeded += status == 0 ? 1 : 0;
        ASSERT_FALSE(status == 0 && device.mustFail())
            << "seed " << seed << ": " << device.told();
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
