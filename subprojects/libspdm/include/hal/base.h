// SPDX-License-Identifier: Apache-2.0
/* The integer, boolean and size types that every header here builds on. */
#ifndef BASE_H
#define BASE_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#endif
