// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace io
{

/** The path of the program that runs, as /proc/self/exe has it; empty when it
 *  cannot be read. Of a program that has been removed or replaced meanwhile
 *  the path ends with " (deleted)", as the kernel says it. */
std::string executablePath();

} // namespace io
