// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using nlohmann::json;

namespace io
{

namespace
{

/** All of a value, whatever it is. */
constexpr Kept whole;

/** What is kept of each item of a container, unless that depends on names. */
const Kept* keptOfItems(std::span<const Kept> members)
{
    if (members.empty())
    {
        return &whole;
    }
    return members.front().key.data() == nullptr ? members.data() : nullptr;
}

/** What is kept of the member with that name of an object. */
const Kept* keptOfMember(std::span<const Kept> members, std::string_view name)
{
    if (const Kept* item = keptOfItems(members))
    {
        return item;
    }
    const auto found = std::ranges::find(members, name, &Kept::key);
    return found == members.end() ? nullptr : &*found;
}

/** Builds a document out of what the library's parser reports.
 *
 *  The library's own builders come in a pair, each with a parser around it;
 *  with this one there is one parser, and it knows the depth and what nobody
 *  asked for.
 */
class Builder
{
  public:
    Builder(json& rootIn, const Wanted& wantedIn, std::size_t maxDepthIn,
            bool throwsIn) :
        root(rootIn), wanted(wantedIn), maxDepth(maxDepthIn), throws(throwsIn)
    {
    }

    bool null()
    {
        return put(nullptr);
    }

    bool boolean(bool value)
    {
        return put(value);
    }

    bool number_integer(int64_t value)
    {
        return put(value);
    }

    bool number_unsigned(uint64_t value)
    {
        return put(value);
    }

    bool number_float(double value, const std::string& /*text*/)
    {
        return put(value);
    }

    bool string(const std::string& value)
    {
        return put(value);
    }

    bool binary(const json::binary_t& /*value*/)
    {
        return false; // no part of a text
    }

    bool start_object(std::size_t /*size*/)
    {
        open(json::value_t::object);
        return true;
    }

    bool start_array(std::size_t /*size*/)
    {
        open(json::value_t::array);
        return true;
    }

    bool key(const std::string& name)
    {
        if (dropped == 0)
        {
            const Open& inside = containers.back();
            next = keptOfMember(inside.members, name);
            member = next == nullptr
                       ? nullptr
                       : &inside.value->get_ref<json::object_t&>()[name];
        }
        return true;
    }

    bool end_object()
    {
        if (dropped > 0)
        {
            --dropped;
            return true;
        }
        json& ended = *containers.back().value;
        containers.pop_back();
        if (containers.size() == 2 && wanted.fold)
        {
            wanted.fold(ended);
        }
        return true;
    }

    bool end_array()
    {
        return end_object();
    }

    template <typename Error>
    bool parse_error(std::size_t /*at*/, const std::string& /*token*/,
                     const Error& error)
    {
        if (throws)
        {
            throw error;
        }
        return false;
    }

  private:
    /** An array or object that is kept and not at its end. */
    struct Open
    {
        json* value;
        std::span<const Kept> members;
    };

    json& root;
    const Wanted& wanted;
    std::size_t maxDepth;
    bool throws;
    const Kept items{everyItem, wanted.members};
    const Kept list{wanted.list, {&items, 1}};
    const Kept document{everyItem, {&list, wanted.list.empty() ? 0U : 1U}};
    const Kept* next{&document};  //!< what is kept of the next value, if any
    std::vector<Open> containers; //!< innermost last
    std::size_t dropped{0};       //!< open ones inside these, not kept
    json* member{nullptr};        //!< what the last key in an object names
    std::size_t values{0};

    /** Count a value. @return where it belongs, null if it is not kept */
    json* place()
    {
        if (++values > maxJsonValues)
        {
            throw std::length_error("JSON document holds more than " +
                                    std::to_string(maxJsonValues) + " values");
        }
        if (dropped > 0)
        {
            return nullptr;
        }
        if (containers.empty())
        {
            return &root;
        }
        const Open& inside = containers.back();
        if (inside.value->is_object())
        {
            return member;
        }
        next = keptOfItems(inside.members);
        return next == nullptr
                 ? nullptr
                 : &inside.value->get_ref<json::array_t&>().emplace_back();
    }

    template <typename T>
    bool put(const T& value)
    {
        if (json* place = this->place())
        {
            *place = value;
        }
        return true;
    }

    void open(json::value_t kind)
    {
        if (containers.size() + dropped == maxDepth)
        {
            throw std::length_error("JSON document is nested deeper than " +
                                    std::to_string(maxDepth) + " levels");
        }
        json* place = this->place();
        if (place == nullptr)
        {
            ++dropped;
            return;
        }
        *place = kind;
        containers.push_back({place, next->members});
    }
};

json build(std::string_view text, const Wanted& wanted, std::size_t maxDepth,
           bool throws)
{
    json document;
    Builder builder(document, wanted, maxDepth, throws);
    // By pointers, so that this is the only kind of input that is parsed.
    if (!json::sax_parse(text.data(), text.data() + text.size(), &builder))
    {
        return json::value_t::discarded;
    }
    return document;
}

} // namespace

json parseJson(std::string_view text, std::size_t maxDepth)
{
    return build(text, {}, maxDepth, true);
}

json parseJson(std::string_view text, const Wanted& wanted)
{
    return build(text, wanted, maxJsonDepth, true);
}

json tryParseJson(std::string_view text, std::size_t maxDepth)
{
    return build(text, {}, maxDepth, false);
}

} // namespace io
