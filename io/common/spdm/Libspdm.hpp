// SPDX-License-Identifier: Apache-2.0
#pragma once

// The C library's own headers. Those below library/ declare C linkage
// themselves, those below hal/ and internal/ do not, and the order matters:
// industry_standard/spdm.h does not include what it uses.

#include <cstddef>
#include <cstdint>

extern "C"
{
#include <hal/library/cryptlib.h>
#include <industry_standard/spdm.h>
#include <internal/libspdm_common_lib.h>
#include <library/spdm_common_lib.h>
#include <library/spdm_crypt_lib.h>
#include <library/spdm_requester_lib.h>
#include <library/spdm_transport_mctp_lib.h>
}
