// SPDX-License-Identifier: Apache-2.0
#pragma once

/** The public headers as a C++ program includes them: those outside library/
 * leave C linkage to the includer. */
extern "C"
{
#include <internal/libspdm_common_lib.h>
#include <library/spdm_common_lib.h>
#include <library/spdm_crypt_lib.h>
#include <library/spdm_requester_lib.h>
#include <library/spdm_transport_mctp_lib.h>
}
