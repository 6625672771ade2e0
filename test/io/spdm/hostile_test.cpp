#include "io/common/spdm/Measurements.hpp"
#include "io/common/spdm/Spdm.hpp"
#include "sim/spdm/device.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <random>
#include <string>

// The whole requester in one process with a device whose answers are changed
// on their way. Only the endpoint lookup goes over the bus: the exchange is
// replaced by the one below, the loopback socket stays.

using mctp::spdm::SpdmLib;
using sim::spdm::Bytes;

namespace
{

constexpr uint32_t address = 0x8c0000;
constexpr uint8_t challengeRequest = 0x83;

/** Changes one answer of a conversation, the others pass. */
class HostileDevice
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

    bool answer(const Bytes& request, Bytes& response)
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

HostileDevice* current = nullptr;

nlohmann::json configFor(const char* version)
{
    auto config = nlohmann::json::parse(R"({
        "capabilities": {"multiKey": "none"},
        "slots": [{"slot": 0, "intermediates": 1, "keyUsage": 6}],
        "measurements": [
            {"index": 1, "type": 1, "value": "00112233", "size": 48},
            {"index": 2, "type": 131, "value": "44556677"}]})");
    config["versions"] = {version};
    if (std::string(version) == "1.3")
    {
        config["capabilities"]["multiKey"] = "negotiable";
    }
    return config;
}

unsigned countFromEnvironment()
{
    const char* text = std::getenv("HOSTILE_COUNT");
    return text != nullptr
             ? static_cast<unsigned>(std::strtoul(text, nullptr, 10))
             : 200;
}

libspdm_return_t attest()
{
    libspdm_return_t status = SpdmLib::initialize();
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = SpdmLib::authenticateTarget(address, "/run/hostile/roots");
    }
    SpdmLib::uninitialize();
    return status;
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
    sim::spdm::KeyStore keys("/run/hostile/roots");
    HostileDevice device(configFor(GetParam()), keys);
    current = &device;
    unsigned succeeded = 0;
    for (unsigned seed = 0; seed < countFromEnvironment(); ++seed)
    {
        device.begin(seed);
        const libspdm_return_t status = attest();
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

namespace mctp::spdm
{

int SpdmLib::sendRecvMctpMsg(uint8_t /*eid*/,
                             std::vector<unsigned char>& request,
                             std::vector<unsigned char>& response,
                             uint16_t /*timeoutMs*/)
{
    return current->answer(request, response) ? 0 : -1;
}

} // namespace mctp::spdm
