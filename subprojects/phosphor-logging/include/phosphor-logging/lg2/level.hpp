// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <syslog.h>

namespace lg2
{

/** The journal's PRIORITY values (syslog.h). */
// An int, as callers of the real library know it.
// NOLINTNEXTLINE(performance-enum-size)
enum class level
{
    emergency = LOG_EMERG,
    alert = LOG_ALERT,
    critical = LOG_CRIT,
    error = LOG_ERR,
    warning = LOG_WARNING,
    notice = LOG_NOTICE,
    info = LOG_INFO,
    debug = LOG_DEBUG,
};

} // namespace lg2
