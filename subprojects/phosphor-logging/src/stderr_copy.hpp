// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/level.hpp>

#include <source_location>
#include <string>

namespace lg2::details
{

/** Show a record on standard error if that is a terminal or LG2_FORCE_STDERR
 *  is set; looked up once, with the first record. One line, laid out as
 *  LG2_FORMAT says, "<%l> %m" without it: %m message, %l level, %f function,
 *  %F file, %L line, %% percent sign; any other stays as it is. */
void copyToStderr(level severity, const std::source_location& where,
                  const std::string& message);

} // namespace lg2::details
