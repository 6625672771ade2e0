// SPDX-License-Identifier: Apache-2.0
#include "tool/firmware/part_number.hpp"

#include <string_view>

namespace tool
{

std::optional<std::string> partNumberOfFile(const std::string& file)
{
    const std::size_t slash = file.rfind('/');
    const std::size_t underscore = file.rfind('_');
    if (slash == std::string::npos || underscore == std::string::npos ||
        underscore < slash + 2)
    {
        return std::nullopt;
    }
    return file.substr(slash + 1, underscore - slash - 1);
}

std::optional<std::string> partNumberOfParams(const std::string& params)
{
    constexpr std::string_view key = "PN=";
    const std::size_t at = params.find(key);
    if (at == std::string::npos)
    {
        return std::nullopt;
    }
    return params.substr(at + key.size());
}

} // namespace tool
