// SPDX-License-Identifier: Apache-2.0
/* Signing for mutual authentication: defined by programs that take part in it,
 * never called by this library. */
#ifndef REQUESTER_REQASYMSIGNLIB_H
#define REQUESTER_REQASYMSIGNLIB_H

#include "hal/base.h"
#include "industry_standard/spdm.h"

extern bool
libspdm_requester_data_sign(spdm_version_number_t spdm_version, uint8_t op_code,
                            uint16_t req_base_asym_alg, uint32_t base_hash_algo,
                            bool is_data_hash, const uint8_t* message,
                            size_t message_size, uint8_t* signature,
                            size_t* sig_size);

extern bool libspdm_encap_challenge_opaque_data(
    spdm_version_number_t spdm_version, uint8_t slot_id,
    uint8_t* measurement_summary_hash, size_t measurement_summary_hash_size,
    void* opaque_data, size_t* opaque_data_size);

#endif
