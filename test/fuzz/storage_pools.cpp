// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"
#include "target.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/item_lines.hpp"

using tool::findMember;
using tool::poolLine;

/** A storage service's pools. */
void fuzz::target(Input input)
{
    const auto document = io::parseJson(textOf(input));
    const nlohmann::json* items = findMember(document, "StoragePools");
    if (items == nullptr)
    {
        return;
    }
    for (const nlohmann::json& item : *items)
    {
        require(poolLine(item, "  ").starts_with("  "),
                "every item has its line");
    }
}
