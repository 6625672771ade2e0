// SPDX-License-Identifier: Apache-2.0
#include "sim/bmc/adapters.hpp"

#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

namespace sim
{

namespace
{

constexpr const char* devices = "/sys/bus/i2c/devices";

std::string readContent(const Node& node)
{
    if (node.json().is_string())
    {
        return node.text() + "\n";
    }
    node.allowOnly({"content"});
    return node.at("content").text();
}

} // namespace

Adapters::Adapters(const Node& buses)
{
    buses.eachMember(
        [&](const std::string& number, const Node& node)
        {
            if (number.empty() ||
                number.find_first_not_of("0123456789") != std::string::npos)
            {
                node.fail("is not named by a bus number");
            }
            add(number, readContent(node));
        });
}

Adapters::~Adapters()
{
    remove();
}

Adapters& Adapters::operator=(Adapters&& other) noexcept
{
    remove();
    made = std::exchange(other.made, {});
    return *this;
}

void Adapters::remove() noexcept
{
    for (const std::filesystem::path& folder : made)
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    made.clear();
}

void Adapters::add(const std::string& number, const std::string& content)
{
    std::filesystem::path folder =
        std::filesystem::path(devices) / ("i2c-" + number);
    std::filesystem::create_directories(folder);
    made.push_back(folder);
    std::ofstream stream(folder / "name");
    stream << content << std::flush;
    if (!stream)
    {
        throw std::system_error(errno, std::generic_category(),
                                folder.string());
    }
}

} // namespace sim
