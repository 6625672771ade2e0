// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string_view>

namespace tool
{

/** Run something whose exceptions end it with a line for the user.
 *
 *  @param words stands in front of the exception's text
 *  @return what `run` returns; false after an exception
 */
bool guarded(std::string_view words, const std::function<bool()>& run);

} // namespace tool
