// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "test/spdm/devices.hpp"

extern "C"
{
#include <internal/libspdm_common_lib.h>
#include <library/spdm_common_lib.h>
#include <library/spdm_requester_lib.h>
#include <library/spdm_transport_mctp_lib.h>
}

#include <functional>
#include <memory>
#include <vector>

namespace test
{

using Message = std::vector<uint8_t>;

/** How the device side behaves in one exchange. */
enum class Delivery
{
    normal,
    /** The send function fails. */
    sendFails,
    /** The receive function fails. */
    receiveFails,
    /** Nothing arrives, which the receive function does not tell. */
    nothing,
};

/** Changes the answer, which begins with the transport's byte, of the exchange
 * with that number. May be empty. */
using Fault = std::function<Delivery(size_t step, Message& answer)>;

/** Changes a request, which begins with the transport's byte, on its way. */
using Tap = std::function<void(Message& request)>;

/** What a whole attestation came to. */
struct Outcome
{
    libspdm_return_t connect{UINT32_MAX};
    libspdm_return_t digest{UINT32_MAX};
    libspdm_return_t certificate{UINT32_MAX};
    libspdm_return_t challenge{UINT32_MAX};
    libspdm_return_t count{UINT32_MAX};
    std::vector<libspdm_return_t> blocks;
    uint8_t slotMask{0};
    uint8_t blockCount{0};
    std::vector<uint8_t> record;
    std::vector<uint8_t> chain;
};

/** Rare ways to use a connection. */
struct Use
{
    /** Whether the receive function says how much arrived. */
    bool tellsLength{false};
    size_t chainRoom{4096};
    uint32_t recordRoom{4096};
    bool isSigned{true};
    /** Goes on after a status that is an error. */
    bool goesOn{false};
    uint32_t flags{0x262C6};
    uint32_t baseAsym{0x80};
    uint32_t baseHash{3};
};

/** A requester whose device functions reach a device in this process. */
class Session
{
  public:
    explicit Session(Device& responder, Fault change = {}, Use how = {});
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    Session(Session&&) = delete;
    Session& operator=(Session&&) = delete;

    void* context()
    {
        return memory.data();
    }

    /** Hands over a root certificate, which stays the caller's. */
    libspdm_return_t addRoot(Message& root);

    template <typename T>
    libspdm_return_t set(libspdm_data_type_t item, T value)
    {
        libspdm_data_parameter_t parameter{};
        return libspdm_set_data(context(), item, &parameter, &value,
                                sizeof(value));
    }

    template <typename T>
    libspdm_return_t get(libspdm_data_type_t item, T& value, uint8_t slot = 0)
    {
        libspdm_data_parameter_t parameter{LIBSPDM_DATA_LOCATION_CONNECTION,
                                           {slot, 0, 0, 0}};
        size_t size = sizeof(value);
        return libspdm_get_data(context(), item, &parameter, &value, &size);
    }

    libspdm_return_t connect();
    libspdm_return_t digests();
    /** Reads the chain of a slot into `chain`. */
    libspdm_return_t readChain(uint8_t slot = 0);
    /** summary: which blocks' hash is asked for, as in the message. */
    libspdm_return_t challenge(uint8_t slot = 0, uint8_t summary = 0);
    libspdm_return_t measure(uint8_t operation, bool isSigned,
                             uint8_t slot = 0);

    /** Connects, reads slot 0 and, as far as all goes well, challenges it and
     * reads its measurements. */
    Outcome attest();

    /** Requests as they went out, with the transport's byte. */
    std::vector<Message> sent;
    /** The last answer as it came in, without the transport's byte. */
    [[nodiscard]] Message answer() const;
    /** The last chain that was read. */
    Message chain;
    Tap tap;
    /** Room that the receive function was offered, and its time-outs. */
    std::vector<size_t> rooms;
    std::vector<uint64_t> timeouts;
    /** Buffers that were acquired and not released. */
    int acquired{0};
    /** As many as there were at a time. */
    int mostAcquired{0};

  private:
    static libspdm_return_t send(void* context, size_t size,
                                 const void* message, uint64_t timeout);
    static libspdm_return_t receive(void* context, size_t* size, void** message,
                                    uint64_t timeout);
    void measureAll(Outcome& outcome);

    Device& device;
    Fault fault;
    Use use;
    std::vector<uint8_t> memory;
    std::vector<uint8_t> scratch;
    Message pending;
    Delivery delivery{Delivery::normal};
};

/** Whether a status lets the flow go on. */
bool isFine(libspdm_return_t status);

} // namespace test
