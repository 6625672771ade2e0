#include "target.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/item_lines.hpp"

/** A storage service's volumes. */
void fuzz::target(Input input)
{
    const auto document = parseDocument(textOf(input));
    const nlohmann::json* items = findMember(document, "Volumes");
    if (items == nullptr)
    {
        return;
    }
    for (const nlohmann::json& item : *items)
    {
        const std::size_t before = printed().size();
        printVolumeLine(item, "  ");
        require(printed().size() > before && printed().back() == '\n',
                "every item has its line");
    }
}
