#include "target.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/item_lines.hpp"

/** A storage service's pools. */
void fuzz::target(Input input)
{
    const auto document = parseDocument(textOf(input));
    const nlohmann::json* items = findMember(document, "StoragePools");
    if (items == nullptr)
    {
        return;
    }
    for (const nlohmann::json& item : *items)
    {
        const std::size_t before = printed().size();
        printPoolLine(item, "  ");
        require(printed().size() > before && printed().back() == '\n',
                "every item has its line");
    }
}
