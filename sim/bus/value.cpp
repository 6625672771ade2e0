// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/value.hpp"

#include "sim/bus/value_sink.hpp"

#include <systemd/sd-bus.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <optional>

namespace sim
{

namespace
{

// The D-Bus specification allows 32 levels of arrays and 32 of structures.
constexpr int maxDepth = 64;

constexpr std::string_view wholeTypes = "ynqiuxt";
constexpr std::string_view textTypes = "sog";

bool isBasic(char type)
{
    return type == 'b' || type == 'd' ||
           wholeTypes.find(type) != std::string_view::npos ||
           textTypes.find(type) != std::string_view::npos;
}

size_t typeLength(std::string_view signature, int depth);

size_t bracketLength(std::string_view signature, char closing, int depth)
{
    size_t length = 1;
    while (length < signature.size() && signature[length] != closing)
    {
        length += typeLength(signature.substr(length), depth + 1);
    }
    // "()" and "{}" hold nothing and are no types.
    if (length >= signature.size() || length == 1)
    {
        throw ScenarioError("bad signature");
    }
    return length + 1;
}

size_t typeLength(std::string_view signature, int depth)
{
    if (signature.empty() || depth > maxDepth)
    {
        throw ScenarioError("bad signature");
    }
    switch (signature.front())
    {
        case 'a':
            return 1 + typeLength(signature.substr(1), depth + 1);
        case '(':
            return bracketLength(signature, ')', depth);
        case '{':
            return bracketLength(signature, '}', depth);
        default:
            break;
    }
    if (signature.front() != 'v' && !isBasic(signature.front()))
    {
        throw ScenarioError("bad signature");
    }
    return 1;
}

struct Range
{
    int64_t lowest;
    uint64_t highest;
};

template <typename T>
constexpr Range rangeOf()
{
    return {static_cast<int64_t>(std::numeric_limits<T>::min()),
            static_cast<uint64_t>(std::numeric_limits<T>::max())};
}

Range range(char type)
{
    switch (type)
    {
        case 'y':
            return rangeOf<uint8_t>();
        case 'n':
            return rangeOf<int16_t>();
        case 'q':
            return rangeOf<uint16_t>();
        case 'i':
            return rangeOf<int32_t>();
        case 'u':
            return rangeOf<uint32_t>();
        case 'x':
            return rangeOf<int64_t>();
        default:
            return rangeOf<uint64_t>();
    }
}

/** Walks a value along its signature and hands the pieces to a sink. */
class Walk
{
  public:
    explicit Walk(ValueSink& sinkIn) : sink(sinkIn)
    {
    }

    void items(std::string_view signature, const Node& values);

  private:
    void value(std::string_view type, const Node& node);
    void basic(char type, const Node& node);
    void whole(char type, const Node& node);
    void array(std::string_view element, const Node& node);
    void dictionary(std::string_view entry, const Node& node);
    void entry(std::string_view contents, const Node& key, const Node& value);
    void variant(const Node& node);

    ValueSink& sink;
};

void Walk::items(std::string_view signature, const Node& values)
{
    values.eachItem(
        [&](const Node& item)
        {
            if (signature.empty())
            {
                item.fail("has no type in the signature");
            }
            value(takeType(signature), item);
        });
    if (!signature.empty())
    {
        values.fail("lacks values for \"" + std::string(signature) + "\"");
    }
}

void Walk::value(std::string_view type, const Node& node)
{
    if (type.starts_with("a{"))
    {
        return dictionary(type.substr(2, type.size() - 3), node);
    }
    switch (type.front())
    {
        case 'a':
            return array(type.substr(1), node);
        case 'v':
            return variant(node);
        case '(':
        {
            std::string_view contents = type.substr(1, type.size() - 2);
            sink.open('r', std::string(contents));
            items(contents, node);
            return sink.close();
        }
        default:
            return basic(type.front(), node);
    }
}

void Walk::basic(char type, const Node& node)
{
    if (wholeTypes.find(type) != std::string_view::npos)
    {
        return whole(type, node);
    }
    const Json& json = node.json();
    if (type == 'b' && json.is_boolean())
    {
        return sink.number(type, json.get<bool>() ? 1 : 0);
    }
    if (type == 'd' && json.is_number())
    {
        return sink.real(json.get<double>());
    }
    if (type != 'b' && type != 'd' && json.is_string())
    {
        return sink.text(type, json.get<std::string>());
    }
    node.fail(std::string("does not fit the type ") + type);
}

void Walk::whole(char type, const Node& node)
{
    Range allowed = range(type);
    const Json& json = node.json();
    if (json.is_number_integer() && !json.is_number_unsigned())
    {
        auto number = json.get<int64_t>();
        if (number < allowed.lowest)
        {
            node.fail(std::string("is out of the range of type ") + type);
        }
        if (number < 0)
        {
            return sink.number(type, std::bit_cast<uint64_t>(number));
        }
    }
    uint64_t number = node.number();
    if (number > allowed.highest)
    {
        node.fail(std::string("is out of the range of type ") + type);
    }
    sink.number(type, number);
}

void Walk::array(std::string_view element, const Node& node)
{
    sink.open('a', std::string(element));
    node.eachItem([&](const Node& item) { value(element, item); });
    sink.close();
}

void Walk::dictionary(std::string_view contents, const Node& node)
{
    sink.open('a', "{" + std::string(contents) + "}");
    if (node.json().is_object())
    {
        node.eachMember(
            [&](const std::string& key, const Node& member)
            {
                Json keyJson = key;
                entry(contents, Node(keyJson, member.place()), member);
            });
    }
    else
    {
        node.eachItem(
            [&](const Node& pair)
            {
                if (!pair.json().is_array() || pair.json().size() != 2)
                {
                    pair.fail("must be a [key, value] pair");
                }
                entry(contents, Node(pair.json()[0], pair.place() + "/0"),
                      Node(pair.json()[1], pair.place() + "/1"));
            });
    }
    sink.close();
}

void Walk::entry(std::string_view contents, const Node& key, const Node& member)
{
    sink.open('e', std::string(contents));
    value(takeType(contents), key);
    if (contents.empty())
    {
        throw ScenarioError("bad signature");
    }
    value(takeType(contents), member);
    sink.close();
}

void Walk::variant(const Node& node)
{
    std::string signature = node.at("signature").text();
    std::string_view rest = signature;
    std::string_view type = takeType(rest);
    if (!rest.empty())
    {
        node.fail("a variant holds one complete type");
    }
    sink.open('v', signature);
    value(type, node.at("value"));
    sink.close();
}

} // namespace

std::string_view takeType(std::string_view& signature)
{
    size_t length = typeLength(signature, 0);
    std::string_view type = signature.substr(0, length);
    signature.remove_prefix(length);
    return type;
}

void checkValues(std::string_view signature, const Node& items)
{
    NullSink sink;
    Walk(sink).items(signature, items);
}

void appendValues(sd_bus_message* message, std::string_view signature,
                  const Json& items)
{
    MessageSink sink(message);
    Walk(sink).items(signature, Node(items, "values"));
}

} // namespace sim
