#include "target.hpp"
#include "test/io/spdm/in_process.hpp"
#include "test/scratch_dir.hpp"

#include <sdbusplus/asio/connection.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <vector>

// A device whose answers the input changes on their way; its endpoint is the
// one below.

using mctp::spdm::SpdmLib;
using sim::spdm::Bytes;

namespace
{

constexpr uint8_t getMeasurements = 0xe0;
constexpr uint8_t challenge = 0x83;
constexpr uint8_t chunkResponse = 0x06;
constexpr uint8_t error = 0x7f;
constexpr std::array versions{"1.0", "1.1", "1.2", "1.3"};

const std::string& roots()
{
    static const ScratchDir folder;
    static const std::string path = folder.path();
    return path;
}

nlohmann::json configOf(std::size_t version, bool chunks)
{
    nlohmann::json config = in_process::configOf(versions.at(version));
    if (chunks && version >= 2)
    {
        config["capabilities"]["chunking"] = true;
        config["dataTransferSize"] = 200U;
    }
    return config;
}

/** A device takes longer to make than to ask: one of each kind is kept. */
sim::spdm::Device& deviceOf(std::size_t version, bool chunks)
{
    static sim::spdm::KeyStore keys(roots());
    static std::map<std::pair<std::size_t, bool>,
                    std::unique_ptr<sim::spdm::Device>>
        devices;
    auto& device = devices[{version, chunks}];
    if (device == nullptr)
    {
        device = std::make_unique<sim::spdm::Device>(
            sim::spdm::parseDeviceConfig(configOf(version, chunks)), keys);
    }
    return *device;
}

/** One change of one answer. */
struct Change
{
    uint8_t step;
    uint8_t kind;
    uint16_t place;
    Bytes bytes;
};

void apply(const Change& change, Bytes& answer)
{
    const std::size_t place = answer.empty() ? 0 : change.place % answer.size();
    switch (change.kind % 4)
    {
        case 0: // other bytes in their place
            for (std::size_t i = 0; i < change.bytes.size(); ++i)
            {
                if (place + i < answer.size())
                {
                    answer[place + i] = change.bytes[i];
                }
            }
            return;
        case 1:
            answer.resize(place);
            return;
        case 2:
            answer.resize(answer.size() + change.place % 8192, change.step);
            return;
        default:
            answer = change.bytes;
    }
}

/** Clear what nobody reads in the messages that wrap others (DSP0274: chunks,
 *  and the error that announces them), which no signature covers. */
Bytes withoutReserved(Bytes message)
{
    // MCTP's message type comes first, then version, code, and two parameters.
    constexpr std::size_t header = 9;
    message.resize(std::max(message.size(), header), 0);
    if (message[2] == chunkResponse)
    {
        message[3] &= 1;
        message[7] = 0;
        message[8] = 0;
    }
    if (message[2] == error)
    {
        message[4] = 0;
    }
    return message;
}

/** A conversation with a device, some of whose answers are changed. */
class Conversation : public in_process::Responder
{
  public:
    explicit Conversation(fuzz::Reader& reader) :
        kind(reader.byte()),
        device(deviceOf(kind % versions.size(), (kind & 4) != 0))
    {
        while (!reader.empty())
        {
            Change change{reader.byte(),
                          reader.byte(),
                          static_cast<uint16_t>(reader.word(2)),
                          {}};
            for (unsigned left = reader.byte(); left > 0; --left)
            {
                change.bytes.push_back(reader.byte());
            }
            changes.push_back(std::move(change));
        }
    }

    bool usesRoot() const
    {
        return (kind & 8) != 0;
    }

    bool answer(const Bytes& request, Bytes& response) override
    {
        const uint8_t code = request.size() > 2 ? request[2] : 0;
        challenged = challenged || code == challenge;
        const std::optional<Bytes> honest = device.handle(request);
        if (!honest)
        {
            return false;
        }
        response = *honest;
        for (const Change& change : changes)
        {
            if (change.step == answers)
            {
                apply(change, response);
            }
        }
        ++answers;
        note(code, *honest, response);
        return true;
    }

    /** Was an answer that the challenge's signature covers changed? */
    bool isForged() const
    {
        return challenged && forged;
    }

  private:
    /** What is behind a message is nobody's, and the requester's buffer holds
     *  zeros where one was cut. */
    void note(uint8_t code, const Bytes& honest, Bytes changed)
    {
        changed.resize(honest.size(), 0);
        // The measurements' own signature covers them, block by block, and a
        // block that is refused is no failure of the whole.
        measuring = measuring || code == getMeasurements;
        forged = forged || (!measuring && withoutReserved(changed) !=
                                              withoutReserved(honest));
    }

    uint8_t kind;
    sim::spdm::Device& device;
    std::vector<Change> changes;
    unsigned answers{0};
    bool challenged{false};
    bool measuring{false};
    bool forged{false};
};

/** A connection that is there and that nobody looks at: what would use it is
 *  replaced below. */
DbusConnPtr unusedConnection()
{
    using Connection = DbusConnPtr::element_type;
    alignas(Connection) static std::array<std::byte, sizeof(Connection)> place;
    return {std::shared_ptr<void>(), reinterpret_cast<Connection*>(&place)};
}

} // namespace

/** The answers of a device at each step of an attestation. */
void fuzz::target(Input input)
{
    Reader reader(input);
    Conversation conversation(reader);
    SpdmLib::connection = unusedConnection();
    const libspdm_return_t status = in_process::attest(
        conversation, conversation.usesRoot() ? roots() : "");
    SpdmLib::connection.reset();
    require(status != LIBSPDM_STATUS_SUCCESS || !conversation.isForged(),
            "nothing unsigned is taken for signed");
}

namespace mctp::spdm
{

std::vector<std::string> SpdmLib::getMCTPServices()
{
    return {"daemon"};
}

bool SpdmLib::findEndpoint(const std::string& /*service*/, uint32_t wanted,
                           uint8_t& eid)
{
    eid = 9;
    return wanted == in_process::address;
}

bool SpdmLib::lookUpTarget(uint32_t wanted)
{
    mctpService = getMCTPServices().front();
    return findEndpoint(mctpService, wanted, targetEid);
}

} // namespace mctp::spdm
