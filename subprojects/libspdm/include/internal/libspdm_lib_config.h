// SPDX-License-Identifier: Apache-2.0
#ifndef LIBSPDM_LIB_CONFIG_H
#define LIBSPDM_LIB_CONFIG_H

#include "library/spdm_lib_config.h"

#endif
