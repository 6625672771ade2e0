// SPDX-License-Identifier: Apache-2.0
#include "context.hpp"

#include "scratch.hpp"

#include <chrono>
#include <new>
#include <thread>

namespace spdm
{

bool addToChallenge(Context& context, Bytes message)
{
    return context.challenge.add(context.connection.algorithms.baseHash,
                                 context.negotiation.messages(), message);
}

bool addToMeasurements(Context& context, Bytes message)
{
    // L1/L2 begin with the negotiation from 1.2 on.
    Bytes base = versionOf(context) >= SPDM_MESSAGE_VERSION_12
                   ? context.negotiation.messages()
                   : Bytes{};
    return context.measurements.add(context.connection.algorithms.baseHash,
                                    base, message);
}

void sleepMicroseconds(uint64_t duration)
{
    std::this_thread::sleep_for(std::chrono::microseconds(duration));
}

namespace
{

Context& cast(void* context)
{
    return *static_cast<Context*>(context);
}

} // namespace

} // namespace spdm

size_t libspdm_get_context_size()
{
    return sizeof(libspdm_context);
}

libspdm_return_t libspdm_init_context(void* spdm_context)
{
    if (spdm_context == nullptr)
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    new (spdm_context) libspdm_context{};
    return LIBSPDM_STATUS_SUCCESS;
}

void libspdm_reset_context(void* spdm_context)
{
    spdm::Context& context = spdm::cast(spdm_context);
    context.connection = {};
    context.lastRequestSize = 0;
}

void libspdm_deinit_context(void* spdm_context)
{
    spdm::Context& context = spdm::cast(spdm_context);
    context.negotiation.reset();
    context.challenge.reset();
    context.measurements.reset();
    context.peer = {};
}

void libspdm_register_device_io_func(
    void* spdm_context, libspdm_device_send_message_func send_message,
    libspdm_device_receive_message_func receive_message)
{
    spdm::Device& device = spdm::cast(spdm_context).device;
    device.send = send_message;
    device.receive = receive_message;
}

void libspdm_register_device_buffer_func(
    void* spdm_context, uint32_t sender_buffer_size,
    uint32_t receiver_buffer_size,
    libspdm_device_acquire_sender_buffer_func acquire_sender_buffer,
    libspdm_device_release_sender_buffer_func release_sender_buffer,
    libspdm_device_acquire_receiver_buffer_func acquire_receiver_buffer,
    libspdm_device_release_receiver_buffer_func release_receiver_buffer)
{
    spdm::Context& context = spdm::cast(spdm_context);
    spdm::Device& device = context.device;
    device.acquireSender = acquire_sender_buffer;
    device.releaseSender = release_sender_buffer;
    device.acquireReceiver = acquire_receiver_buffer;
    device.releaseReceiver = release_receiver_buffer;
    uint32_t overhead = device.headerSize + device.tailSize;
    context.local.senderDataTransferSize = sender_buffer_size - overhead;
    context.local.capability.dataTransferSize = receiver_buffer_size - overhead;
}

void libspdm_register_transport_layer_func(
    void* spdm_context, uint32_t max_spdm_msg_size,
    uint32_t transport_header_size, uint32_t transport_tail_size,
    libspdm_transport_encode_message_func transport_encode_message,
    libspdm_transport_decode_message_func transport_decode_message)
{
    spdm::Context& context = spdm::cast(spdm_context);
    context.local.capability.maxMessageSize = max_spdm_msg_size;
    context.device.headerSize = transport_header_size;
    context.device.tailSize = transport_tail_size;
    context.device.encode = transport_encode_message;
    context.device.decode = transport_decode_message;
}

void libspdm_register_verify_spdm_cert_chain_func(
    void* spdm_context,
    const libspdm_verify_spdm_cert_chain_func verify_spdm_cert_chain)
{
    spdm::cast(spdm_context).device.verifyChain = verify_spdm_cert_chain;
}

size_t libspdm_get_sizeof_required_scratch_buffer(void* spdm_context)
{
    return spdm::scratchSize(spdm::cast(spdm_context));
}

void libspdm_set_scratch_buffer(void* spdm_context, void* scratch_buffer,
                                size_t scratch_buffer_size)
{
    // Cleared so that an exchange without an answer never sees what the memory
    // held before.
    std::memset(scratch_buffer, 0, scratch_buffer_size);
    spdm::cast(spdm_context).scratch = {static_cast<uint8_t*>(scratch_buffer),
                                        scratch_buffer_size};
}
