// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"

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

/** Builds a document out of what the library's parser reports.
 *
 *  The library's own builders come in a pair, each with a parser around it;
 *  with this one there is one parser, and it knows the depth.
 */
class Builder
{
  public:
    Builder(json& rootIn, std::size_t maxDepthIn, bool throwsIn) :
        root(rootIn), maxDepth(maxDepthIn), throws(throwsIn)
    {
    }

    bool null()
    {
        place(nullptr);
        return true;
    }

    bool boolean(bool value)
    {
        place(value);
        return true;
    }

    bool number_integer(int64_t value)
    {
        place(value);
        return true;
    }

    bool number_unsigned(uint64_t value)
    {
        place(value);
        return true;
    }

    bool number_float(double value, const std::string& /*text*/)
    {
        place(value);
        return true;
    }

    bool string(const std::string& value)
    {
        place(value);
        return true;
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
        member = &containers.back()->get_ref<json::object_t&>()[name];
        return true;
    }

    bool end_object()
    {
        containers.pop_back();
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
    json& root;
    std::size_t maxDepth;
    bool throws;
    std::vector<json*> containers; //!< open ones, innermost last
    json* member{nullptr};         //!< what the last key in an object names
    std::size_t values{0};

    /** Put a value where the next one belongs. */
    json& place(json value)
    {
        if (++values > maxJsonValues)
        {
            throw std::length_error("JSON document holds more than " +
                                    std::to_string(maxJsonValues) + " values");
        }
        if (containers.empty())
        {
            return root = std::move(value);
        }
        if (containers.back()->is_array())
        {
            auto& elements = containers.back()->get_ref<json::array_t&>();
            return elements.emplace_back(std::move(value));
        }
        return *member = std::move(value);
    }

    void open(json::value_t kind)
    {
        if (containers.size() == maxDepth)
        {
            throw std::length_error("JSON document is nested deeper than " +
                                    std::to_string(maxDepth) + " levels");
        }
        containers.push_back(&place(kind));
    }
};

json build(std::string_view text, std::size_t maxDepth, bool throws)
{
    json document;
    Builder builder(document, maxDepth, throws);
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
    return build(text, maxDepth, true);
}

json tryParseJson(std::string_view text, std::size_t maxDepth)
{
    return build(text, maxDepth, false);
}

} // namespace io
