// SPDX-License-Identifier: Apache-2.0
/* The checks behind the acceptance of a certificate chain. No C linkage is
 * asked for here either. */
#ifndef SPDM_COMMON_LIB_INTERNAL_H
#define SPDM_COMMON_LIB_INTERNAL_H

#include "hal/library/cryptlib.h"
#include "hal/library/requester/psklib.h"
#include "hal/library/requester/reqasymsignlib.h"
#include "hal/library/responder/asymsignlib.h"
#include "hal/library/responder/psklib.h"
#include "library/spdm_common_lib.h"
#include "library/spdm_crypt_lib.h"
#include "library/spdm_return_status.h"

typedef struct libspdm_context libspdm_context_t;

/* True if the chain holds together: its length, the hash of its root, each
 * signature with the issuer's right to give it and today's date, and the leaf's
 * key, basic constraints and key usages. */
bool libspdm_verify_peer_cert_chain_buffer_integrity(
    libspdm_context_t* spdm_context, const void* cert_chain_buffer,
    size_t cert_chain_buffer_size);

/* True if a root certificate that was handed over stands for the chain, or none
 * was handed over. trust_anchor gets that root certificate; may be NULL. */
bool libspdm_verify_peer_cert_chain_buffer_authority(
    libspdm_context_t* spdm_context, const void* cert_chain_buffer,
    size_t cert_chain_buffer_size, const void** trust_anchor,
    size_t* trust_anchor_size);

#endif
