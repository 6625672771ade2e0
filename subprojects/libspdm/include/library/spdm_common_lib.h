// SPDX-License-Identifier: Apache-2.0
/* Context of a connection: its life, its settings, and the functions that the
 * program lends to it. */
#ifndef SPDM_COMMON_LIB_H
#define SPDM_COMMON_LIB_H

#ifdef __cplusplus
extern "C"
{
#endif

#include "hal/base.h"
#include "industry_standard/spdm.h"
#include "internal/libspdm_lib_config.h"
#include "library/spdm_return_status.h"

    /* What can be set or read. Their numbers follow release 3.6; other releases
     * count differently, so go by the names. */
    typedef enum
    {
        LIBSPDM_DATA_SPDM_VERSION = 0,
        LIBSPDM_DATA_CAPABILITY_FLAGS = 2,
        LIBSPDM_DATA_CAPABILITY_CT_EXPONENT = 3,
        LIBSPDM_DATA_CAPABILITY_RTT_US = 4,
        LIBSPDM_DATA_MEASUREMENT_SPEC = 8,
        LIBSPDM_DATA_MEASUREMENT_HASH_ALGO = 9,
        LIBSPDM_DATA_BASE_ASYM_ALGO = 10,
        LIBSPDM_DATA_BASE_HASH_ALGO = 11,
        LIBSPDM_DATA_DHE_NAME_GROUP = 12,
        LIBSPDM_DATA_AEAD_CIPHER_SUITE = 13,
        LIBSPDM_DATA_REQ_BASE_ASYM_ALG = 14,
        LIBSPDM_DATA_KEY_SCHEDULE = 15,
        LIBSPDM_DATA_OTHER_PARAMS_SUPPORT = 16,
        LIBSPDM_DATA_MEL_SPEC = 17,
        LIBSPDM_DATA_CONNECTION_STATE = 18,
        LIBSPDM_DATA_PEER_PUBLIC_ROOT_CERT = 21,
        LIBSPDM_DATA_PEER_KEY_PAIR_ID = 35,
        LIBSPDM_DATA_PEER_CERT_INFO = 36,
        LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK = 37
    } libspdm_data_type_t;

    typedef enum
    {
        LIBSPDM_DATA_LOCATION_LOCAL,     /* this side's setting */
        LIBSPDM_DATA_LOCATION_CONNECTION /* the peer's or what was agreed on */
    } libspdm_data_location_t;

    /* additional_data[0] is the slot of items that exist per slot. */
    typedef struct
    {
        libspdm_data_location_t location;
        uint8_t additional_data[4];
    } libspdm_data_parameter_t;

    /* How far the connection has got. */
    typedef enum
    {
        LIBSPDM_CONNECTION_STATE_NOT_STARTED,
        LIBSPDM_CONNECTION_STATE_AFTER_VERSION,
        LIBSPDM_CONNECTION_STATE_AFTER_CAPABILITIES,
        LIBSPDM_CONNECTION_STATE_NEGOTIATED,
        LIBSPDM_CONNECTION_STATE_AFTER_DIGESTS,
        LIBSPDM_CONNECTION_STATE_AFTER_CERTIFICATE,
        LIBSPDM_CONNECTION_STATE_AUTHENTICATED
    } libspdm_connection_state_t;

    /* Bytes to allocate for a context. */
    size_t libspdm_get_context_size(void);

    /* Starts a context in that memory; whatever it held is forgotten, so a
     * context that was in use goes through libspdm_deinit_context first. */
    libspdm_return_t libspdm_init_context(void* spdm_context);

    /* Ends the connection and forgets what the peer said; settings stay. */
    void libspdm_reset_context(void* spdm_context);

    /* Gives back the keys and hash states that a context holds, before its
     * memory is freed. */
    void libspdm_deinit_context(void* spdm_context);

    /* Sets an item. INVALID_PARAMETER: unknown item, wrong size or location.
     * UNSUPPORTED_CAP: the item cannot be set. BUFFER_FULL: no room for one
     * more root certificate. The root certificate's bytes are not copied and
     * stay with the caller for the life of the context. */
    libspdm_return_t libspdm_set_data(void* spdm_context,
                                      libspdm_data_type_t data_type,
                                      const libspdm_data_parameter_t* parameter,
                                      void* data, size_t data_size);

    /* Reads an item; data_size goes in as the room and comes out as the size,
     * also with BUFFER_TOO_SMALL. INVALID_PARAMETER and UNSUPPORTED_CAP as
     * above. */
    libspdm_return_t libspdm_get_data(void* spdm_context,
                                      libspdm_data_type_t data_type,
                                      const libspdm_data_parameter_t* parameter,
                                      void* data, size_t* data_size);

    /* Sends one transport message; timeout in microseconds. */
    typedef libspdm_return_t (*libspdm_device_send_message_func)(
        void* spdm_context, size_t message_size, const void* message,
        uint64_t timeout);

    /* Receives one transport message into *message; *message_size goes in as
     * the room and may come out as the length. A function that leaves it alone
     * is fine: lengths are taken from the fields of the messages. */
    typedef libspdm_return_t (*libspdm_device_receive_message_func)(
        void* spdm_context, size_t* message_size, void** message,
        uint64_t timeout);

    void libspdm_register_device_io_func(
        void* spdm_context, libspdm_device_send_message_func send_message,
        libspdm_device_receive_message_func receive_message);

    typedef libspdm_return_t (*libspdm_device_acquire_sender_buffer_func)(
        void* spdm_context, void** msg_buf_ptr);
    typedef void (*libspdm_device_release_sender_buffer_func)(
        void* spdm_context, const void* msg_buf_ptr);
    typedef libspdm_return_t (*libspdm_device_acquire_receiver_buffer_func)(
        void* spdm_context, void** msg_buf_ptr);
    typedef void (*libspdm_device_release_receiver_buffer_func)(
        void* spdm_context, const void* msg_buf_ptr);

    /* Sizes in bytes. They decide the DataTransferSize that the peer is told:
     * the receiver's size without the transport's head and tail. The buffers
     * are acquired and released around each exchange; the messages themselves
     * pass through the scratch buffer. */
    void libspdm_register_device_buffer_func(
        void* spdm_context, uint32_t sender_buffer_size,
        uint32_t receiver_buffer_size,
        libspdm_device_acquire_sender_buffer_func acquire_sender_buffer,
        libspdm_device_release_sender_buffer_func release_sender_buffer,
        libspdm_device_acquire_receiver_buffer_func acquire_receiver_buffer,
        libspdm_device_release_receiver_buffer_func release_receiver_buffer);

    /* Puts the transport's head in front of message, inside the buffer that
     * *transport_message and *transport_message_size describe. */
    typedef libspdm_return_t (*libspdm_transport_encode_message_func)(
        void* spdm_context, const uint32_t* session_id, bool is_app_message,
        bool is_request_message, size_t message_size, void* message,
        size_t* transport_message_size, void** transport_message);

    /* Finds the SPDM message inside a transport message. */
    typedef libspdm_return_t (*libspdm_transport_decode_message_func)(
        void* spdm_context, uint32_t** session_id, bool* is_app_message,
        bool is_request_message, size_t transport_message_size,
        void* transport_message, size_t* message_size, void** message);

    /* Sizes in bytes; before libspdm_register_device_buffer_func. */
    void libspdm_register_transport_layer_func(
        void* spdm_context, uint32_t max_spdm_msg_size,
        uint32_t transport_header_size, uint32_t transport_tail_size,
        libspdm_transport_encode_message_func transport_encode_message,
        libspdm_transport_decode_message_func transport_decode_message);

    /* Decides whether a chain that was read completely is accepted. */
    typedef bool (*libspdm_verify_spdm_cert_chain_func)(
        void* spdm_context, uint8_t slot_id, size_t cert_chain_size,
        const void* cert_chain, const void** trust_anchor,
        size_t* trust_anchor_size);

    /* Without such a function the integrity and authority checks are made. */
    void libspdm_register_verify_spdm_cert_chain_func(
        void* spdm_context,
        const libspdm_verify_spdm_cert_chain_func verify_spdm_cert_chain);

    /* Bytes to allocate for the scratch buffer; after the transport's
     * registration. */
    size_t libspdm_get_sizeof_required_scratch_buffer(void* spdm_context);

    /* Lends the scratch buffer to the context. */
    void libspdm_set_scratch_buffer(void* spdm_context, void* scratch_buffer,
                                    size_t scratch_buffer_size);

#ifdef __cplusplus
}
#endif

#endif
