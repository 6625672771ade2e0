// SPDX-License-Identifier: Apache-2.0
#include "sim/scenario/node.hpp"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace sim
{

namespace
{

std::optional<uint64_t> parseNumber(std::string_view text)
{
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X"))
    {
        text.remove_prefix(2);
        base = 16;
    }
    uint64_t number = 0;
    const char* begin = text.data();
    const char* end = begin + text.size();
    auto [stop, error] = std::from_chars(begin, end, number, base);
    if (error != std::errc{} || stop != end)
    {
        return std::nullopt;
    }
    return number;
}

std::string list(const std::vector<const char*>& words)
{
    std::string text;
    for (const char* word : words)
    {
        text += text.empty() ? word : std::string(", ") + word;
    }
    return text;
}

} // namespace

Node::Node(const Json& valueIn, std::string place) :
    value(&valueIn), where(std::move(place))
{
}

void Node::fail(const std::string& what) const
{
    throw ScenarioError((where.empty() ? "/" : where) + ": " + what);
}

void Node::mustBe(bool fits, const char* kind) const
{
    if (!fits)
    {
        fail(std::string("must be ") + kind);
    }
}

bool Node::has(const std::string& key) const
{
    return value->is_object() && value->contains(key);
}

Node Node::at(const std::string& key) const
{
    mustBe(value->is_object(), "an object");
    auto member = value->find(key);
    if (member == value->end())
    {
        fail("needs a member \"" + key + "\"");
    }
    return {*member, where + "/" + key};
}

std::optional<Node> Node::find(const std::string& key) const
{
    if (!has(key))
    {
        return std::nullopt;
    }
    return at(key);
}

std::string Node::text() const
{
    mustBe(value->is_string(), "a text");
    return value->get<std::string>();
}

std::string Node::text(const std::string& key, const std::string& absent) const
{
    return has(key) ? at(key).text() : absent;
}

uint64_t Node::number() const
{
    // A model's own numbers may be signed; a scenario's never are when they
    // are not negative.
    if (value->is_number_unsigned() ||
        (value->is_number_integer() && value->get<int64_t>() >= 0))
    {
        return value->get<uint64_t>();
    }
    std::optional<uint64_t> number;
    if (value->is_string())
    {
        number = parseNumber(value->get_ref<const std::string&>());
    }
    mustBe(number.has_value(), "a whole number");
    return number.value_or(0);
}

uint64_t Node::number(const std::string& key, uint64_t absent) const
{
    return has(key) ? at(key).number() : absent;
}

uint64_t Node::number(const std::string& key, uint64_t absent, uint64_t least,
                      uint64_t most) const
{
    uint64_t number = this->number(key, absent);
    if (number < least || number > most)
    {
        at(key).fail("is not from " + std::to_string(least) + " to " +
                     std::to_string(most));
    }
    return number;
}

bool Node::flag(const std::string& key, bool absent) const
{
    if (!has(key))
    {
        return absent;
    }
    Node member = at(key);
    member.mustBe(member.value->is_boolean(), "true or false");
    return member.value->get<bool>();
}

void Node::eachMember(
    const std::function<void(const std::string&, const Node&)>& visit) const
{
    mustBe(value->is_object(), "an object");
    for (const auto& [key, member] : value->items())
    {
        visit(key, Node(member, where + "/" + key));
    }
}

void Node::eachItem(const std::function<void(const Node&)>& visit) const
{
    mustBe(value->is_array(), "an array");
    size_t index = 0;
    for (const Json& item : *value)
    {
        visit(Node(item, where + "/" + std::to_string(index++)));
    }
}

void Node::allowOnly(const std::vector<const char*>& keys) const
{
    eachMember(
        [&](const std::string& key, const Node& member)
        {
            if (std::find(keys.begin(), keys.end(), key) == keys.end())
            {
                member.fail("is none of " + list(keys));
            }
        });
}

} // namespace sim
