// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"
#include "target.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/item_lines.hpp"
#include "tool/storage/item_rows.hpp"

using tool::driveLine;
using tool::driveUsageLine;
using tool::findMember;
using tool::visitDrives;

/** A storage service's drives, with and without their counters. */
void fuzz::target(Input input)
{
    const auto document = io::parseJson(textOf(input));
    const nlohmann::json* items = findMember(document, "Drives");
    if (items == nullptr)
    {
        return;
    }
    std::size_t visited = 0;
    const auto visit = [&visited](const nlohmann::json& item)
    {
        ++visited;
        require(driveLine(item, "  ").find("ResId ") != std::string::npos,
                "every drive has its line");
        driveUsageLine(item, "  ");
    };
    visitDrives(*items, visit);
    require(visited == items->size(), "every drive is listed once");
}
