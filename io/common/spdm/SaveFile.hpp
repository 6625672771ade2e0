#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace mctp::spdm
{

/** Replace a file in a folder that others may write to.
 *
 *  The content goes to a new file of mode 0600, which then takes the name: a
 *  link that someone planted under the name is replaced, never followed, and
 *  a reader sees the old content or the new.
 *
 *  @return false, with errno set and the old file as it was, when any step
 *          failed
 */
bool saveFile(const std::string& path, std::span<const uint8_t> content);

} // namespace mctp::spdm
