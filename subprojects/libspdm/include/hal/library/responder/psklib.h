// SPDX-License-Identifier: Apache-2.0
/* Keys from a pre-shared secret: the same on both sides. */
#ifndef RESPONDER_PSKLIB_H
#define RESPONDER_PSKLIB_H

#include "hal/library/requester/psklib.h"

#endif
