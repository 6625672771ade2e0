// SPDX-License-Identifier: Apache-2.0
/* MCTP message types, DMTF DSP0239. */
#ifndef MCTP_H
#define MCTP_H

#include <stdint.h>

#define MCTP_MESSAGE_TYPE_SPDM 0x05
#define MCTP_MESSAGE_TYPE_SECURED_MCTP 0x06

#pragma pack(1)

typedef struct
{
    uint8_t message_type;
} mctp_message_header_t;

#pragma pack()

#endif
