// SPDX-License-Identifier: Apache-2.0
/* Preprocessed to learn the folder of the library's headers: the compiler
 * writes down where it found this one. */
#include <libspdm/hal/base.h>
