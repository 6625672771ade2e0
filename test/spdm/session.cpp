// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/session.hpp"

#include <algorithm>
#include <array>

namespace test
{

namespace
{

/** The session whose context is in use; the callbacks get the context only. */
Session* current = nullptr;

std::array<uint8_t, 4736> buffer;

libspdm_return_t acquire(void* /*context*/, void** area)
{
    ++current->acquired;
    current->mostAcquired = std::max(current->mostAcquired, current->acquired);
    *area = buffer.data();
    return LIBSPDM_STATUS_SUCCESS;
}

void release(void* /*context*/, const void* /*area*/)
{
    --current->acquired;
}

} // namespace

bool isFine(libspdm_return_t status)
{
    return !LIBSPDM_STATUS_IS_ERROR(status);
}

Session::Session(Device& responder, Fault change, Use how) :
    device(responder),
    fault(std::move(change)),
    use(how),
    memory(libspdm_get_context_size())
{
    current = this;
    libspdm_init_context(context());
    libspdm_register_device_io_func(context(), send, receive);
    libspdm_register_transport_layer_func(
        context(), 4608, 64, 64, libspdm_transport_mctp_encode_message,
        libspdm_transport_mctp_decode_message);
    libspdm_register_device_buffer_func(context(), 4480, 4736, acquire, release,
                                        acquire, release);
    scratch.resize(libspdm_get_sizeof_required_scratch_buffer(context()));
    libspdm_set_scratch_buffer(context(), scratch.data(), scratch.size());
    set<uint64_t>(LIBSPDM_DATA_CAPABILITY_RTT_US, 1000000);
    set<uint32_t>(LIBSPDM_DATA_CAPABILITY_FLAGS, use.flags);
    set<uint8_t>(LIBSPDM_DATA_MEASUREMENT_SPEC, 1);
    set<uint32_t>(LIBSPDM_DATA_BASE_ASYM_ALGO, use.baseAsym);
    set<uint32_t>(LIBSPDM_DATA_BASE_HASH_ALGO, use.baseHash);
    set<uint16_t>(LIBSPDM_DATA_DHE_NAME_GROUP, 0x1B);
    set<uint16_t>(LIBSPDM_DATA_AEAD_CIPHER_SUITE, 6);
    set<uint16_t>(LIBSPDM_DATA_REQ_BASE_ASYM_ALG, 0x80);
    set<uint16_t>(LIBSPDM_DATA_KEY_SCHEDULE, 1);
    set<uint8_t>(LIBSPDM_DATA_OTHER_PARAMS_SUPPORT, 0x12);
    set<uint8_t>(LIBSPDM_DATA_MEL_SPEC, 1);
}

Session::~Session()
{
    libspdm_deinit_context(context());
    current = nullptr;
}

libspdm_return_t Session::addRoot(Message& root)
{
    libspdm_data_parameter_t parameter{};
    return libspdm_set_data(context(), LIBSPDM_DATA_PEER_PUBLIC_ROOT_CERT,
                            &parameter, root.data(), root.size());
}

libspdm_return_t Session::send(void* /*context*/, size_t size,
                               const void* message, uint64_t /*timeout*/)
{
    const auto* bytes = static_cast<const uint8_t*>(message);
    current->sent.emplace_back(bytes, bytes + size);
    Message request = current->sent.back();
    if (current->tap)
    {
        current->tap(request);
    }
    Message answer = current->device.handle(request).value_or(Message{});
    current->delivery = Delivery::normal;
    if (current->fault)
    {
        current->delivery = current->fault(current->sent.size() - 1, answer);
    }
    current->pending = answer;
    return current->delivery == Delivery::sendFails ? LIBSPDM_STATUS_SEND_FAIL
                                                    : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t Session::receive(void* /*context*/, size_t* size,
                                  void** message, uint64_t timeout)
{
    current->rooms.push_back(*size);
    current->timeouts.push_back(timeout);
    if (current->delivery == Delivery::receiveFails)
    {
        return LIBSPDM_STATUS_RECEIVE_FAIL;
    }
    if (current->delivery == Delivery::nothing)
    {
        return LIBSPDM_STATUS_SUCCESS;
    }
    size_t length = std::min(*size, current->pending.size());
    std::copy_n(current->pending.begin(), length,
                static_cast<uint8_t*>(*message));
    if (current->use.tellsLength)
    {
        *size = length;
    }
    return LIBSPDM_STATUS_SUCCESS;
}

Message Session::answer() const
{
    return {pending.begin() + 1, pending.end()};
}

libspdm_return_t Session::connect()
{
    return libspdm_init_connection(context(), false);
}

libspdm_return_t Session::digests()
{
    uint8_t mask = 0;
    std::array<uint8_t, 512> hashes{};
    return libspdm_get_digest(context(), nullptr, &mask, hashes.data());
}

libspdm_return_t Session::readChain(uint8_t slot)
{
    size_t size = use.chainRoom;
    chain.resize(size);
    libspdm_return_t status =
        libspdm_get_certificate(context(), nullptr, slot, &size, chain.data());
    chain.resize(std::min(size, use.chainRoom));
    return status;
}

libspdm_return_t Session::challenge(uint8_t slot, uint8_t summary)
{
    std::array<uint8_t, 64> hash{};
    return libspdm_challenge_ex2(context(), nullptr, slot, nullptr, summary,
                                 hash.data(), nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr);
}

libspdm_return_t Session::measure(uint8_t operation, bool isSigned,
                                  uint8_t slot)
{
    uint8_t blocks = 0;
    uint32_t length = use.recordRoom;
    Message record(length);
    return libspdm_get_measurement_ex2(context(), nullptr, isSigned ? 1 : 0,
                                       operation, slot, nullptr, nullptr,
                                       &blocks, &length, record.data(), nullptr,
                                       nullptr, nullptr, nullptr, nullptr);
}

void Session::measureAll(Outcome& outcome)
{
    uint32_t length = use.recordRoom;
    outcome.record.resize(length);
    outcome.count = libspdm_get_measurement_ex2(
        context(), nullptr, 0, 0, 0, nullptr, nullptr, &outcome.blockCount,
        &length, outcome.record.data(), nullptr, nullptr, nullptr, nullptr,
        nullptr);
    if (!isFine(outcome.count))
    {
        return;
    }
    for (uint8_t block = 1; block <= outcome.blockCount; ++block)
    {
        uint8_t one = 0;
        length = use.recordRoom;
        outcome.record.assign(length, 0);
        outcome.blocks.push_back(libspdm_get_measurement_ex2(
            context(), nullptr, use.isSigned ? 1 : 0, block, 0, nullptr,
            nullptr, &one, &length, outcome.record.data(), nullptr, nullptr,
            nullptr, nullptr, nullptr));
    }
    outcome.record.resize(std::min<size_t>(length, outcome.record.size()));
}

Outcome Session::attest()
{
    Outcome outcome;
    outcome.connect = connect();
    if (!isFine(outcome.connect) && !use.goesOn)
    {
        return outcome;
    }
    std::array<uint8_t, 512> digests{};
    outcome.digest = libspdm_get_digest(context(), nullptr, &outcome.slotMask,
                                        digests.data());
    if (!isFine(outcome.digest) && !use.goesOn)
    {
        return outcome;
    }
    outcome.certificate = readChain();
    outcome.chain = chain;
    if (!isFine(outcome.certificate) && !use.goesOn)
    {
        return outcome;
    }
    outcome.challenge =
        challenge(0, SPDM_CHALLENGE_REQUEST_ALL_MEASUREMENTS_HASH);
    if (isFine(outcome.challenge) || use.goesOn)
    {
        measureAll(outcome);
    }
    return outcome;
}

} // namespace test
