// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/logger.hpp>

#include <string>

namespace lg2::details
{

/** The text that a field's value is logged as, its flags applied. */
std::string valueText(const field& f);

} // namespace lg2::details
