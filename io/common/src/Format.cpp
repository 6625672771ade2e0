#include "io/common/src/Format.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace io
{

// The compiler checks the arguments as it does printf's.
// NOLINTNEXTLINE(cert-dcl50-cpp)
std::string formatted(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

} // namespace io
