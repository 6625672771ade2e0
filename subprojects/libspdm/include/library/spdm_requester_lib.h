// SPDX-License-Identifier: Apache-2.0
/* The requests of a requester. Each call sends one request, or as many as it
 * takes, and checks what comes back.
 *
 * All of them may return SEND_FAIL, RECEIVE_FAIL or what the program's send and
 * receive functions returned; INVALID_MSG_SIZE or INVALID_MSG_FIELD for a
 * response that does not hold together; BUSY_PEER, NOT_READY_PEER, RESYNCH_PEER
 * or ERROR_PEER for an ERROR response; UNSUPPORTED_CAP where the peer lacks the
 * capability; INVALID_STATE_LOCAL where the connection is not that far. */
#ifndef SPDM_REQUESTER_LIB_H
#define SPDM_REQUESTER_LIB_H

#ifdef __cplusplus
extern "C"
{
#endif

#include "library/spdm_common_lib.h"

    /* VERSION and, unless get_version_only, CAPABILITIES and ALGORITHMS.
     * NEGOTIATION_FAIL: nothing in common. */
    libspdm_return_t libspdm_init_connection(void* spdm_context,
                                             bool get_version_only);

    /* DIGESTS. slot_mask gets the provisioned slots, total_digest_buffer one
     * digest for each of them (8 times the hash size at most); both may be
     * NULL. session_id must be NULL. */
    libspdm_return_t libspdm_get_digest(void* spdm_context,
                                        const uint32_t* session_id,
                                        uint8_t* slot_mask,
                                        void* total_digest_buffer);

    /* Reads the chain of a slot (0..7) in blocks and has it verified.
     * cert_chain_size goes in as the room and comes out as the chain's size.
     * BUFFER_FULL: the chain is larger. VERIF_FAIL: it was refused.
     * VERIF_NO_AUTHORITY, a warning: only from the built-in checks. */
    libspdm_return_t libspdm_get_certificate(void* spdm_context,
                                             const uint32_t* session_id,
                                             uint8_t slot_id,
                                             size_t* cert_chain_size,
                                             void* cert_chain);

    /* CHALLENGE of a slot whose chain was read. requester_context: 8 bytes,
     * used from 1.3 on. requester_nonce_in: 32 bytes, or NULL for random ones.
     * measurement_hash (hash size), slot_mask, the nonces (32 bytes) and
     * opaque_data (with its size in and out) may be NULL.
     * VERIF_FAIL: wrong chain hash or signature. */
    libspdm_return_t
    libspdm_challenge_ex2(void* spdm_context, void* reserved, uint8_t slot_id,
                          const void* requester_context,
                          uint8_t measurement_hash_type, void* measurement_hash,
                          uint8_t* slot_mask, const void* requester_nonce_in,
                          void* requester_nonce, void* responder_nonce,
                          void* opaque_data, size_t* opaque_data_size);

    /* MEASUREMENTS: operation 0 asks for the number of blocks, 1..254 for one
     * block, 255 for all. measurement_record_length goes in as the room in
     * bytes and comes out as the record's length. The rest as for the
     * challenge. BUFFER_TOO_SMALL: the record is larger. VERIF_FAIL: wrong
     * signature. INVALID_PARAMETER: a signature from a peer that does not sign.
     */
    libspdm_return_t libspdm_get_measurement_ex2(
        void* spdm_context, const uint32_t* session_id,
        uint8_t request_attribute, uint8_t measurement_operation,
        uint8_t slot_id, const void* requester_context,
        uint8_t* content_changed, uint8_t* number_of_blocks,
        uint32_t* measurement_record_length, void* measurement_record,
        const void* requester_nonce_in, void* requester_nonce,
        void* responder_nonce, void* opaque_data, size_t* opaque_data_size);

#ifdef __cplusplus
}
#endif

#endif
