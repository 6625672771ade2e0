// SPDX-License-Identifier: Apache-2.0
/* SPDM over MCTP, DMTF DSP0275: one message-type byte before each message. */
#ifndef SPDM_MCTP_TRANSPORT_LIB_H
#define SPDM_MCTP_TRANSPORT_LIB_H

#ifdef __cplusplus
extern "C"
{
#endif

#include "industry_standard/mctp.h"
#include "library/spdm_common_lib.h"
#include "library/spdm_crypt_lib.h"

    /* Puts the byte in front of message, which must have room for it.
     * UNSUPPORTED_CAP: a session or application message.
     * BUFFER_TOO_SMALL: the transport buffer is. */
    libspdm_return_t libspdm_transport_mctp_encode_message(
        void* spdm_context, const uint32_t* session_id, bool is_app_message,
        bool is_request_message, size_t message_size, void* message,
        size_t* transport_message_size, void** transport_message);

    /* Finds the message behind the byte. INVALID_MSG_SIZE: nothing behind it.
     * UNSUPPORTED_CAP: another message type; for a secured message *session_id
     * is set as well. */
    libspdm_return_t libspdm_transport_mctp_decode_message(
        void* spdm_context, uint32_t** session_id, bool* is_app_message,
        bool is_request_message, size_t transport_message_size,
        void* transport_message, size_t* message_size, void** message);

#ifdef __cplusplus
}
#endif

#endif
