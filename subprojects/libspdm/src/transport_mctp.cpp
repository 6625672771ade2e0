// SPDX-License-Identifier: Apache-2.0
#include "headers.hpp"

#include <cstring>

// Sessions are never opened here, so only plain SPDM messages are encoded, and
// a secured one can only be told apart.

libspdm_return_t libspdm_transport_mctp_encode_message(
    void* /*spdm_context*/, const uint32_t* session_id, bool is_app_message,
    bool /*is_request_message*/, size_t message_size, void* message,
    size_t* transport_message_size, void** transport_message)
{
    constexpr size_t head = sizeof(mctp_message_header_t);
    if (is_app_message || session_id != nullptr)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (*transport_message_size < head + message_size)
    {
        *transport_message_size = head + message_size;
        return LIBSPDM_STATUS_BUFFER_TOO_SMALL;
    }
    uint8_t* type = static_cast<uint8_t*>(message) - head;
    *type = MCTP_MESSAGE_TYPE_SPDM;
    *transport_message = type;
    *transport_message_size = head + message_size;
    return LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t libspdm_transport_mctp_decode_message(
    void* /*spdm_context*/, uint32_t** session_id, bool* is_app_message,
    bool /*is_request_message*/, size_t transport_message_size,
    void* transport_message, size_t* message_size, void** message)
{
    constexpr size_t head = sizeof(mctp_message_header_t);
    if (session_id == nullptr || is_app_message == nullptr)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (transport_message_size <= head)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    auto* bytes = static_cast<uint8_t*>(transport_message);
    if (bytes[0] == MCTP_MESSAGE_TYPE_SECURED_MCTP)
    {
        if (transport_message_size <= head + sizeof(uint32_t))
        {
            return LIBSPDM_STATUS_INVALID_MSG_SIZE;
        }
        // The id is handed on, never read through this pointer.
        void* id = bytes + head;
        *session_id = static_cast<uint32_t*>(id);
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (bytes[0] != MCTP_MESSAGE_TYPE_SPDM)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    *session_id = nullptr;
    *is_app_message = false;
    *message_size = transport_message_size - head;
    *message = bytes + head;
    return LIBSPDM_STATUS_SUCCESS;
}
