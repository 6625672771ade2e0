// SPDX-License-Identifier: Apache-2.0
#include "random_document.hpp"
#include "target.hpp"
#include "tool/firmware/list_devices.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"
#include "tool/pcie/device.hpp"
#include "tool/storage/list_targets.hpp"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <span>

using nlohmann::json;

/** A listing reads no more of a document than it prints. What it prints, and
 *  how it fails, is the same as for the whole document.
 *
 *  The empty input stands for 500 random documents, or for as many as
 *  FUZZ_DOCUMENTS says.
 */
namespace
{

using Print = std::function<void(const json&)>;

/** All that can be seen of a listing: its lines, and what ended it. */
std::string resultOf(const std::string& text, const io::Wanted& wanted,
                     const Print& print)
{
    const std::size_t start = fuzz::printed().size();
    std::string end = "listed";
    try
    {
        print(io::parseJson(text, wanted));
    }
    catch (const std::exception& error)
    {
        end = error.what();
    }
    return fuzz::printed().substr(start) + end;
}

void compare(const std::string& text, const io::Wanted& wanted,
             const Print& print)
{
    const std::string whole = resultOf(text, {}, print);
    const std::string part = resultOf(text, wanted, print);
    if (whole != part)
    {
        std::fprintf(stderr, "%s\n---\n%s\n---\n%s\n", text.c_str(),
                     whole.c_str(), part.c_str());
    }
    fuzz::require(whole == part, "a part of it is listed as the whole is");
}

void storage(const std::string& text, const char* target, bool verbose)
{
    tool::Options options;
    options.target = target;
    options.verbose = verbose;
    const std::string prefix = "  ";
    compare(text, tool::rowsWanted(options, prefix),
            [&](const json& document)
            {
                const json* items = tool::findMember(document, target);
                if (items != nullptr)
                {
                    tool::out::line(std::to_string(items->size()));
                    tool::printItems(*items, options, prefix);
                }
            });
}

void printRecord(const json& record)
{
    const tool::PcieDevice device = tool::readPcieDevice(record);
    tool::out::line(
        tool::deviceLine(device, "rsa", 9, tool::trailingText(device, record)));
    if (const json* inventory = tool::findMember(record, "PCIeDevice"))
    {
        tool::out::line(tool::partLine(*inventory));
    }
    if (const json* ports = tool::findMember(record, "Ports"))
    {
        std::size_t position = 0;
        for (const json& port : *ports)
        {
            tool::out::line(tool::portLine(port, position++));
        }
    }
}

void pcie(const std::string& text)
{
    constexpr const char* list = "PCIeDeviceComplexes";
    compare(text, {list, tool::membersOfDevice()},
            [](const json& document)
            {
                const json* records = tool::findMember(document, list);
                for (const json& record : records ? *records : json())
                {
                    printRecord(record);
                }
            });
}

void firmware(const std::string& text)
{
    compare(text, tool::groupWanted("Updatable"),
            [](const json& document)
            {
                for (const auto& device :
                     tool::readDevices(document, "Updatable"))
                {
                    tool::out::line(device.partNumber);
                    tool::out::line(tool::firmwareLine(device));
                }
            });
}

void everyListing(const std::string& text)
{
    for (const char* target : {"Drives", "Volumes", "StoragePools"})
    {
        storage(text, target, false);
    }
    storage(text, "Drives", true);
    pcie(text);
    firmware(text);
}

} // namespace

void fuzz::target(Input input)
{
    if (!input.empty())
    {
        everyListing(textOf(input));
        return;
    }
    const char* wish = std::getenv("FUZZ_DOCUMENTS");
    const unsigned long count =
        wish == nullptr ? 500 : std::strtoul(wish, nullptr, 10);
    for (unsigned long seed = 0; seed < count; ++seed)
    {
        everyListing(RandomDocument(seed).text());
    }
}
