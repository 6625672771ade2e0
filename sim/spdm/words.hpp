// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <string_view>
#include <utility>
#include <vector>

namespace sim::spdm
{

/** A word of the configuration and what it stands for. */
template <typename T>
using Word = std::pair<std::string_view, T>;

/** What a text stands for; a complaint that names the words when it is none
 *  of them. */
template <typename T, size_t n>
T pick(const Node& node, const Word<T> (&words)[n])
{
    std::string known;
    for (const auto& [word, meaning] : words)
    {
        if (node.text() == word)
        {
            return meaning;
        }
        known.append(known.empty() ? "" : ", ").append(word);
    }
    node.fail("is none of " + known);
}

/** The same of a member that may be absent. */
template <typename T, size_t n>
T pick(const Node& node, const char* key, T absent, const Word<T> (&words)[n])
{
    return node.has(key) ? pick(node.at(key), words) : absent;
}

/** A list of words; what stands there already if the member is absent. */
template <typename T, size_t n>
void pickList(const Node& node, const char* key, std::vector<T>& list,
              const Word<T> (&words)[n])
{
    if (auto member = node.find(key))
    {
        list.clear();
        member->eachItem([&](const Node& item)
                         { list.push_back(pick(item, words)); });
    }
}

} // namespace sim::spdm
