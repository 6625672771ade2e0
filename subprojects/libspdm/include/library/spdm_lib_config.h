// SPDX-License-Identifier: Apache-2.0
/* Limits that are fixed when the library is built. */
#ifndef SPDM_LIB_CONFIG_H
#define SPDM_LIB_CONFIG_H

/* VERSION entries of a responder that are looked at; more is refused. */
#ifndef LIBSPDM_MAX_VERSION_COUNT
#define LIBSPDM_MAX_VERSION_COUNT 5
#endif

/* Root certificates that may be handed over as trust anchors. */
#ifndef LIBSPDM_MAX_ROOT_CERT_SUPPORT
#define LIBSPDM_MAX_ROOT_CERT_SUPPORT 10
#endif

/* Bytes: buffers that programs reserve for a chain and for a record. */
#ifndef LIBSPDM_MAX_CERT_CHAIN_SIZE
#define LIBSPDM_MAX_CERT_CHAIN_SIZE 0x1000
#endif
#ifndef LIBSPDM_MAX_MEASUREMENT_RECORD_SIZE
#define LIBSPDM_MAX_MEASUREMENT_RECORD_SIZE 0x1000
#endif

/* Bytes of a chain that one GET_CERTIFICATE asks for. */
#ifndef LIBSPDM_MAX_CERT_CHAIN_BLOCK_LEN
#define LIBSPDM_MAX_CERT_CHAIN_BLOCK_LEN 1024
#endif

#endif
