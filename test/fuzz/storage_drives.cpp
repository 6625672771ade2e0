#include "target.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/item_lines.hpp"

namespace
{

std::size_t countOf(const std::string& text, std::string_view word)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos;
         at = text.find(word, at + 1))
    {
        ++count;
    }
    return count;
}

} // namespace

/** A storage service's drives, with and without their counters. */
void fuzz::target(Input input)
{
    const auto document = parseDocument(textOf(input));
    const nlohmann::json* items = findMember(document, "Drives");
    if (items == nullptr)
    {
        return;
    }
    Options options;
    printDrives(*items, options, "  ");
    require(countOf(printed(), "ResId ") >= items->size(),
            "every drive has its line");
    options.verbose = true;
    printDrives(*items, options, "  ");
}
