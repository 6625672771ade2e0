// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace tool
{

/** The usage text; every line of it ends in carriage return and line feed. */
extern const std::string_view usageText;

} // namespace tool
