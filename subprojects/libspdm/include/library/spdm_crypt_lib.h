// SPDX-License-Identifier: Apache-2.0
/* Sizes and hashes of the negotiated algorithms. */
#ifndef SPDM_CRYPT_LIB_H
#define SPDM_CRYPT_LIB_H

#ifdef __cplusplus
extern "C"
{
#endif

#include "hal/base.h"
#include "industry_standard/spdm.h"
#include "internal/libspdm_lib_config.h"

#define LIBSPDM_MAX_HASH_SIZE 64

    /* Bytes of a hash, 0 for none or an unknown one. */
    uint32_t libspdm_get_hash_size(uint32_t base_hash_algo);

    /* Bytes of a measurement hash, 0xFFFFFFFF for raw bit streams only, 0 for
     * none or an unknown one. */
    uint32_t libspdm_get_measurement_hash_size(uint32_t measurement_hash_algo);

    /* Bytes of a signature: r and s for ECDSA; 0 for none and for algorithms
     * that are not built in. */
    uint32_t libspdm_get_asym_signature_size(uint32_t base_asym_algo);

    /* Hash of data_size bytes into hash_value; false if the algorithm is
     * unknown or the crypto library fails. */
    bool libspdm_hash_all(uint32_t base_hash_algo, const void* data,
                          size_t data_size, uint8_t* hash_value);

#ifdef __cplusplus
}
#endif

#endif
