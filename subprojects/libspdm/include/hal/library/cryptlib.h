// SPDX-License-Identifier: Apache-2.0
/* Certificates as the crypto layer sees them. C linkage is the includer's
 * business: this header, like all outside library/, does not ask for it. */
#ifndef CRYPTLIB_H
#define CRYPTLIB_H

#include "hal/base.h"
#include "internal/libspdm_lib_config.h"

/* Finds certificate cert_index (0 is the first, -1 the last) in a row of DER
 * certificates; cert points into the row. False if there is none. */
extern bool libspdm_x509_get_cert_from_cert_chain(const uint8_t* cert_chain,
                                                  size_t cert_chain_length,
                                                  const int32_t cert_index,
                                                  const uint8_t** cert,
                                                  size_t* cert_length);

#endif
