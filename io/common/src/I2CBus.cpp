// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/I2CBus.hpp"

#include <phosphor-logging/lg2.hpp>

#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

namespace io
{

namespace
{

/** Size of the buffer for a name, the closing NUL included. */
constexpr int nameSize = 32;

std::string namePath(uint8_t bus)
{
    return I2CBus::devicePrefix + std::to_string(bus) + "/name";
}

/** The first line of a file, without its end and cut to the buffer; none when
 *  the file cannot be opened. */
std::optional<std::string> readFirstLine(const std::string& path)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen(path.c_str(), "re"), std::fclose);
    if (!file)
    {
        return std::nullopt;
    }
    char line[nameSize] = {};
    if (std::fgets(line, sizeof(line), file.get()) == nullptr)
    {
        return "";
    }
    line[std::strcspn(line, "\n")] = '\0';
    return line;
}

bool isChannelName(std::string_view name)
{
    return name.find("mux") != std::string_view::npos;
}

} // namespace

uint8_t I2CBus::getRootBus(uint8_t bus)
{
    const std::string path = namePath(bus);
    const auto name = readFirstLine(path);
    return name ? rootBusByName(bus, *name, path) : unknown;
}

bool I2CBus::exists(uint8_t bus)
{
    return readFirstLine(namePath(bus)).has_value();
}

bool I2CBus::isRootBus(uint8_t bus)
{
    const auto name = readFirstLine(namePath(bus));
    return name && !isChannelName(*name);
}

uint8_t I2CBus::rootBusByName(uint8_t bus, std::string_view name,
                              const std::string& path)
{
    constexpr std::string_view prefix = "i2c-";
    if (!isChannelName(name))
    {
        return bus;
    }
    if (name.starts_with(prefix))
    {
        const std::string parent(name.substr(prefix.size()));
        return static_cast<uint8_t>(std::stoul(parent));
    }
    lg2::warning("[WARN] {PATH}; unknown name: {NAME}", "PATH", path, "NAME",
                 name);
    return unknown;
}

} // namespace io
