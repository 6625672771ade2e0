// SPDX-License-Identifier: Apache-2.0
/* Keys from a pre-shared secret: never asked for by this library. */
#ifndef REQUESTER_PSKLIB_H
#define REQUESTER_PSKLIB_H

#include "hal/base.h"
#include "industry_standard/spdm.h"

extern bool libspdm_psk_handshake_secret_hkdf_expand(
    spdm_version_number_t spdm_version, uint32_t base_hash_algo,
    const uint8_t* psk_hint, size_t psk_hint_size, const uint8_t* info,
    size_t info_size, uint8_t* out, size_t out_size);

extern bool libspdm_psk_master_secret_hkdf_expand(
    spdm_version_number_t spdm_version, uint32_t base_hash_algo,
    const uint8_t* psk_hint, size_t psk_hint_size, const uint8_t* info,
    size_t info_size, uint8_t* out, size_t out_size);

#endif
