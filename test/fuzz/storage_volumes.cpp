// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"
#include "target.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/item_lines.hpp"

using tool::findMember;
using tool::volumeLine;

/** A storage service's volumes. */
void fuzz::target(Input input)
{
    const auto document = io::parseJson(textOf(input));
    const nlohmann::json* items = findMember(document, "Volumes");
    if (items == nullptr)
    {
        return;
    }
    for (const nlohmann::json& item : *items)
    {
        require(volumeLine(item, "  ").starts_with("  "),
                "every item has its line");
    }
}
