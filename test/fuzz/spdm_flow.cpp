// SPDX-License-Identifier: Apache-2.0
#include "in_process.hpp"
#include "io/common/spdm/Measurements.hpp"
#include "target.hpp"
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

/** What a conversation is about: the bits of an input's first byte. */
struct Kind
{
    explicit Kind(uint8_t bits) :
        version(bits % versions.size()),
        chunks((bits & 4) != 0 && version >= 2),
        root((bits & 8) != 0),
        isSigned((bits & 16) == 0)
    {
    }

    auto operator<=>(const Kind&) const = default;

    std::size_t version;
    bool chunks;
    bool root;
    bool isSigned;
};

nlohmann::json configOf(const Kind& kind)
{
    nlohmann::json config = in_process::configOf(versions.at(kind.version));
    if (kind.chunks)
    {
        config["capabilities"]["chunking"] = true;
        config["dataTransferSize"] = 200U;
    }
    if (!kind.isSigned)
    {
        config["capabilities"]["measurements"] = "unsigned";
    }
    return config;
}

/** A device takes longer to make than to ask: one of each kind is kept. */
sim::spdm::Device& deviceOf(const Kind& kind)
{
    static sim::spdm::KeyStore keys(roots());
    static std::map<Kind, std::unique_ptr<sim::spdm::Device>> devices;
    auto& device = devices[kind];
    if (device == nullptr)
    {
        device = std::make_unique<sim::spdm::Device>(
            sim::spdm::parseDeviceConfig(configOf(kind)), keys);
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
        // libspdm does not compare the handle; what is in the pieces counts.
        message[4] = 0;
        message[7] = 0;
        message[8] = 0;
    }
    if (message[2] == error)
    {
        // libspdm looks at no version in it either.
        message[1] = 0;
        message[4] = 0;
    }
    return message;
}

/** The value that a MEASUREMENTS message of one block holds, with zeros for
 *  what did not arrive and for what the record has no room for.
 */
std::string valueIn(const Bytes& message)
{
    // MCTP's message type, version, code, two parameters, number of blocks,
    // and 24 bits of the record's length; then headers of block and value.
    constexpr std::size_t recordAt = 9;
    constexpr std::size_t headers = 7;
    const auto at = [&message](std::size_t place) -> std::size_t
    { return place < message.size() ? message[place] : 0; };
    const std::size_t record = at(6) | at(7) << 8 | at(8) << 16;
    const std::size_t size = at(14) | at(15) << 8;
    Bytes value(size, 0);
    for (std::size_t i = 0; i < size && headers + i < record; ++i)
    {
        value[i] = static_cast<uint8_t>(at(recordAt + headers + i));
    }
    return mctp::spdm::hexDigits(value);
}

/** Watches what becomes of the answers to GET_MEASUREMENTS.
 *
 *  A block that was asked for with a signature is logged only if nothing was
 *  changed that its signature covers: what was measured since the signature
 *  before, and from 1.2 on the negotiation. Any block is logged with the bytes
 *  that arrived.
 */
class Measurements
{
  public:
    explicit Measurements(const Kind& described) : kind(described)
    {
    }

    /** Before the device is asked. */
    void begin(const Bytes& request)
    {
        constexpr uint8_t signatureAttribute = 1;
        check();
        // The device's signature ended what it covers.
        forged = forged && !isSigned;
        isSigned = request.size() > 3 && (request[3] & signatureAttribute) != 0;
        running = true;
    }

    void negotiationIsForged()
    {
        constexpr std::size_t version12 = 2;
        negotiationForged = kind.version >= version12;
    }

    /** An answer since then, which may be a piece of one. */
    void note(const Bytes& answer, bool changed)
    {
        forged = forged || changed;
        last = answer;
    }

    /** Look at what the tool has logged since the last time. */
    void check()
    {
        const std::vector<std::string>& lines = fuzz::logged();
        for (; seen < lines.size(); ++seen)
        {
            if (running && lines[seen].starts_with("    measurement block "))
            {
                judge(lines[seen]);
            }
        }
    }

    bool hasBegun() const
    {
        return running;
    }

  private:
    void judge(const std::string& line) const
    {
        fuzz::require(!isSigned || (!forged && !negotiationForged),
                      "no measurement is logged against its signature");
        // A message in pieces is not put together here.
        fuzz::require(kind.chunks || line.ends_with(". " + valueIn(last)),
                      "a measurement is logged as it arrived");
    }

    Kind kind;
    bool running{false};
    bool isSigned{false};
    bool forged{false};
    bool negotiationForged{false};
    Bytes last;
    std::size_t seen{0};
};

/** A conversation with a device, some of whose answers are changed. */
class Conversation : public in_process::Responder
{
  public:
    explicit Conversation(fuzz::Reader& reader) :
        kind(reader.byte()), device(deviceOf(kind)), measurements(kind)
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
        return kind.root;
    }

    bool answer(const Bytes& request, Bytes& response) override
    {
        const uint8_t code = request.size() > 2 ? request[2] : 0;
        challenged = challenged || code == challenge;
        if (code == getMeasurements)
        {
            measurements.begin(request);
        }
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

    /** The run is over. */
    void check(libspdm_return_t status)
    {
        measurements.check();
        fuzz::require(status != LIBSPDM_STATUS_SUCCESS || !challenged ||
                          !forged,
                      "nothing unsigned is taken for signed");
    }

  private:
    static bool isNegotiation(uint8_t code)
    {
        constexpr std::array<uint8_t, 3> codes{0x84, 0xe1, 0xe3};
        return std::find(codes.begin(), codes.end(), code) != codes.end();
    }

    /** What is behind a message is nobody's, and the requester's buffer holds
     *  zeros where one was cut. */
    void note(uint8_t code, const Bytes& honest, const Bytes& sent)
    {
        Bytes arrived = sent;
        arrived.resize(honest.size(), 0);
        const bool changed =
            withoutReserved(arrived) != withoutReserved(honest);
        if (measurements.hasBegun())
        {
            // Their own signature covers them, block by block, and a block
            // that is refused is no failure of the whole.
            measurements.note(sent, changed);
            return;
        }
        forged = forged || changed;
        if (changed && isNegotiation(code))
        {
            measurements.negotiationIsForged();
        }
    }

    Kind kind;
    sim::spdm::Device& device;
    std::vector<Change> changes;
    unsigned answers{0};
    bool challenged{false};
    /** Was an answer that the challenge's signature covers changed? */
    bool forged{false};
    Measurements measurements;
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
    conversation.check(status);
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
