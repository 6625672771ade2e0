// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace tool
{

/** The part number that a firmware file's name begins with, up to its last
 *  underscore: "ABC123" of "/tmp/ABC123_v1.bin".
 *
 *  None when the name has no folder, no underscore behind it or nothing before
 *  the underscore.
 */
std::optional<std::string> partNumberOfFile(const std::string& file);

/** All that stands behind the first "PN=" of a parameter text. */
std::optional<std::string> partNumberOfParams(const std::string& params);

} // namespace tool
