// SPDX-License-Identifier: Apache-2.0
/* Signing of a responder: never called by this library. */
#ifndef RESPONDER_ASYMSIGNLIB_H
#define RESPONDER_ASYMSIGNLIB_H

#include "hal/base.h"
#include "industry_standard/spdm.h"

extern bool
libspdm_responder_data_sign(spdm_version_number_t spdm_version, uint8_t op_code,
                            uint32_t base_asym_algo, uint32_t base_hash_algo,
                            bool is_data_hash, const uint8_t* message,
                            size_t message_size, uint8_t* signature,
                            size_t* sig_size);

#endif
