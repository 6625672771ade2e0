#pragma once

#include <string>

namespace io
{

/** Text as printf makes it, whatever its length. */
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

} // namespace io
