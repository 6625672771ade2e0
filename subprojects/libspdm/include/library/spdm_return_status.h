// SPDX-License-Identifier: Apache-2.0
/* Status of every call: severity in bits 31..28, source in bits 23..16, code
 * in bits 15..0. Success is 0. */
#ifndef SPDM_RETURN_STATUS_H
#define SPDM_RETURN_STATUS_H

#include <stdint.h>

typedef uint32_t libspdm_return_t;

#define LIBSPDM_STATUS_SEVERITY(status) (((status) >> 28) & 0xf)
#define LIBSPDM_STATUS_IS_ERROR(status)                                        \
    (LIBSPDM_STATUS_SEVERITY(status) == LIBSPDM_SEVERITY_ERROR)

#define LIBSPDM_SEVERITY_ERROR 0x8

#define LIBSPDM_STATUS_SUCCESS ((libspdm_return_t)0x00000000)

/* Core: a parameter is wrong; a capability lacks on either side; the local or
 * the peer's state does not allow the call. */
#define LIBSPDM_STATUS_INVALID_PARAMETER ((libspdm_return_t)0x80010001)
#define LIBSPDM_STATUS_UNSUPPORTED_CAP ((libspdm_return_t)0x80010002)
#define LIBSPDM_STATUS_INVALID_STATE_LOCAL ((libspdm_return_t)0x80010003)
/* Core: what arrived has a wrong field or size; nothing in common. */
#define LIBSPDM_STATUS_INVALID_MSG_FIELD ((libspdm_return_t)0x80010005)
#define LIBSPDM_STATUS_INVALID_MSG_SIZE ((libspdm_return_t)0x80010006)
#define LIBSPDM_STATUS_NEGOTIATION_FAIL ((libspdm_return_t)0x80010007)
/* Core: the peer answered ERROR (Busy, ResponseNotReady, another code,
 * RequestResynch). */
#define LIBSPDM_STATUS_BUSY_PEER ((libspdm_return_t)0x80010008)
#define LIBSPDM_STATUS_NOT_READY_PEER ((libspdm_return_t)0x80010009)
#define LIBSPDM_STATUS_ERROR_PEER ((libspdm_return_t)0x8001000a)
#define LIBSPDM_STATUS_RESYNCH_PEER ((libspdm_return_t)0x8001000b)
/* Core: buffers and resources. */
#define LIBSPDM_STATUS_BUFFER_FULL ((libspdm_return_t)0x8001000c)
#define LIBSPDM_STATUS_BUFFER_TOO_SMALL ((libspdm_return_t)0x8001000d)
#define LIBSPDM_STATUS_PEER_BUFFER_TOO_SMALL ((libspdm_return_t)0x80010013)

/* Crypto: a primitive failed; a digest, signature or chain does not verify;
 * a valid chain that no trust anchor stands for (a warning). */
#define LIBSPDM_STATUS_CRYPTO_ERROR ((libspdm_return_t)0x80020000)
#define LIBSPDM_STATUS_VERIF_FAIL ((libspdm_return_t)0x80020001)
#define LIBSPDM_STATUS_VERIF_NO_AUTHORITY ((libspdm_return_t)0x40020003)

/* A certificate cannot be parsed or holds no usable key. */
#define LIBSPDM_STATUS_INVALID_CERT ((libspdm_return_t)0x80030000)

/* Transport: the program's send or receive function failed. */
#define LIBSPDM_STATUS_SEND_FAIL ((libspdm_return_t)0x80040000)
#define LIBSPDM_STATUS_RECEIVE_FAIL ((libspdm_return_t)0x80040001)

/* No random numbers to be had. */
#define LIBSPDM_STATUS_LOW_ENTROPY ((libspdm_return_t)0x80060000)

#endif
