// SPDX-License-Identifier: Apache-2.0
#include "test/io/spdm/scripted_libspdm.hpp"

#include <algorithm>
#include <cstring>

Scripted scripted;

namespace
{

constexpr size_t chainSize = 1000;

void note(std::string call)
{
    scripted.calls.push_back(std::move(call));
}

void note(const char* name, unsigned number)
{
    note(std::string(name) + ' ' + std::to_string(number));
}

libspdm_return_t statusOf(const std::map<uint8_t, libspdm_return_t>& statuses,
                          uint8_t key)
{
    const auto found = statuses.find(key);
    return found == statuses.end() ? LIBSPDM_STATUS_SUCCESS : found->second;
}

} // namespace

extern "C"
{
    size_t libspdm_get_context_size()
    {
        return scripted.contextSize;
    }

    libspdm_return_t libspdm_init_context(void* /*context*/)
    {
        note("init_context");
        return scripted.initContext;
    }

    void libspdm_deinit_context(void* /*context*/)
    {
        note("deinit_context");
    }

    void
    libspdm_register_device_io_func(void* /*context*/,
                                    libspdm_device_send_message_func send,
                                    libspdm_device_receive_message_func recv)
    {
        scripted.send = send;
        scripted.receive = recv;
    }

    void libspdm_register_transport_layer_func(
        void* /*context*/, uint32_t message, uint32_t header, uint32_t tail,
        libspdm_transport_encode_message_func /*encode*/,
        libspdm_transport_decode_message_func /*decode*/)
    {
        note("transport");
        scripted.sizes = {message, header, tail};
    }

    void libspdm_register_device_buffer_func(
        void* /*context*/, uint32_t sender, uint32_t receiver,
        libspdm_device_acquire_sender_buffer_func acquireSender,
        libspdm_device_release_sender_buffer_func /*release*/,
        libspdm_device_acquire_receiver_buffer_func acquireReceiver,
        libspdm_device_release_receiver_buffer_func /*release*/)
    {
        note("buffers");
        scripted.sizes.push_back(sender);
        scripted.sizes.push_back(receiver);
        scripted.acquireSender = acquireSender;
        scripted.acquireReceiver = acquireReceiver;
    }

    void libspdm_register_verify_spdm_cert_chain_func(
        void* /*context*/, const libspdm_verify_spdm_cert_chain_func verify)
    {
        scripted.verify = verify;
    }

    size_t libspdm_get_sizeof_required_scratch_buffer(void* /*context*/)
    {
        return scripted.scratchSize;
    }

    void libspdm_set_scratch_buffer(void* /*context*/, void* /*buffer*/,
                                    size_t size)
    {
        note("scratch", static_cast<unsigned>(size));
    }

    libspdm_return_t libspdm_set_data(void* /*context*/,
                                      libspdm_data_type_t item,
                                      const libspdm_data_parameter_t* parameter,
                                      void* data, size_t size)
    {
        uint64_t value = 0;
        if (size <= sizeof(value))
        {
            std::memcpy(&value, data, size);
        }
        scripted.settings.push_back(
            {item, parameter->location, data, value, size});
        // Of the others the caller looks at none.
        return item == LIBSPDM_DATA_PEER_PUBLIC_ROOT_CERT
                 ? scripted.setRoot
                 : LIBSPDM_STATUS_INVALID_PARAMETER;
    }

    libspdm_return_t libspdm_get_data(void* /*context*/,
                                      libspdm_data_type_t item,
                                      const libspdm_data_parameter_t* parameter,
                                      void* data, size_t* size)
    {
        scripted.reads.push_back({item, parameter->location, *size});
        const auto found =
            scripted.peers.find({item, parameter->additional_data[0]});
        if (parameter->location != LIBSPDM_DATA_LOCATION_CONNECTION ||
            found == scripted.peers.end())
        {
            return LIBSPDM_STATUS_INVALID_PARAMETER;
        }
        std::memcpy(data, &found->second, *size);
        return LIBSPDM_STATUS_SUCCESS;
    }

    libspdm_return_t libspdm_init_connection(void* /*context*/,
                                             bool versionOnly)
    {
        note("init_connection", versionOnly ? 1 : 0);
        if (scripted.duringConnection)
        {
            scripted.duringConnection();
        }
        return scripted.initConnection;
    }

    libspdm_return_t libspdm_get_digest(void* /*context*/,
                                        const uint32_t* /*session*/,
                                        uint8_t* mask, void* /*digests*/)
    {
        note("digest");
        *mask = scripted.slotMask;
        return scripted.digest;
    }

    libspdm_return_t libspdm_get_certificate(void* /*context*/,
                                             const uint32_t* /*session*/,
                                             uint8_t slot, size_t* size,
                                             void* /*chain*/)
    {
        note("certificate", slot);
        note("room", static_cast<unsigned>(*size));
        *size = chainSize;
        return statusOf(scripted.certificate, slot);
    }

    libspdm_return_t
    libspdm_challenge_ex2(void* /*context*/, void* /*reserved*/, uint8_t slot,
                          const void* /*requesterContext*/, uint8_t hashType,
                          void* /*hash*/, uint8_t* /*mask*/, const void* nonce,
                          void* /*requesterNonce*/, void* /*responderNonce*/,
                          void* /*opaque*/, size_t* /*opaqueSize*/)
    {
        note("challenge", slot);
        note("summary", hashType);
        note("nonce", nonce != nullptr ? 1 : 0);
        return statusOf(scripted.challenge, slot);
    }

    libspdm_return_t libspdm_get_measurement_ex2(
        void* /*context*/, const uint32_t* /*session*/, uint8_t attributes,
        uint8_t operation, uint8_t slot, const void* /*requesterContext*/,
        uint8_t* /*changed*/, uint8_t* blocks, uint32_t* length, void* record,
        const void* /*nonce*/, void* /*requesterNonce*/,
        void* /*responderNonce*/, void* /*opaque*/, size_t* /*opaqueSize*/)
    {
        note("measure " + std::to_string(operation) + " attributes " +
             std::to_string(attributes) + " slot " + std::to_string(slot));
        if (operation == 0)
        {
            *blocks = scripted.blocks;
            return scripted.blockCount;
        }
        const std::vector<uint8_t>& bytes = scripted.records[operation];
        const size_t size = std::min<size_t>(bytes.size(), *length);
        std::copy_n(bytes.begin(), size, static_cast<uint8_t*>(record));
        *length = static_cast<uint32_t>(size);
        return statusOf(scripted.block, operation);
    }

    bool libspdm_verify_peer_cert_chain_buffer_integrity(
        libspdm_context_t* /*context*/, const void* /*chain*/, size_t /*size*/)
    {
        note("integrity");
        return scripted.integrity;
    }

    bool libspdm_verify_peer_cert_chain_buffer_authority(
        libspdm_context_t* /*context*/, const void* chain, size_t size,
        const void** trustAnchor, size_t* trustAnchorSize)
    {
        note("authority");
        *trustAnchor = chain;
        *trustAnchorSize = size;
        return scripted.authority;
    }

    uint32_t libspdm_get_hash_size(uint32_t algorithm)
    {
        return algorithm == 1 ? 32 : 48;
    }

    bool libspdm_hash_all(uint32_t algorithm, const void* /*data*/,
                          size_t /*size*/, uint8_t* hash)
    {
        std::fill_n(hash, libspdm_get_hash_size(algorithm), uint8_t{0xAA});
        return scripted.hash;
    }

    bool libspdm_x509_get_cert_from_cert_chain(const uint8_t* chain,
                                               size_t length,
                                               const int32_t index,
                                               const uint8_t** cert,
                                               size_t* certLength)
    {
        note("certificate of chain", static_cast<unsigned>(index));
        *cert = chain;
        *certLength = length;
        return scripted.certificateFound;
    }

    libspdm_return_t libspdm_transport_mctp_encode_message(
        void* /*context*/, const uint32_t* /*session*/, bool /*app*/,
        bool /*request*/, size_t /*size*/, void* /*message*/,
        size_t* /*transportSize*/, void** /*transportMessage*/)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }

    libspdm_return_t libspdm_transport_mctp_decode_message(
        void* /*context*/, uint32_t** /*session*/, bool* /*app*/,
        bool /*request*/, size_t /*transportSize*/, void* /*transportMessage*/,
        size_t* /*size*/, void** /*message*/)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }

} // extern "C"
