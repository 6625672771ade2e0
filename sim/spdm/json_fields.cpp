#include "sim/spdm/json_fields.hpp"

#include "sim/spdm/bytes.hpp"

#include <stdexcept>

namespace sim::spdm
{

Fields::Fields(const nlohmann::json& json, std::string where) :
    object(json), place(std::move(where))
{
    if (!object.is_object())
    {
        throw std::invalid_argument(place + " is not an object");
    }
}

const nlohmann::json* Fields::find(const char* key)
{
    asked.emplace(key);
    auto member = object.find(key);
    return member == object.end() ? nullptr : &*member;
}

bool Fields::flag(const char* key, bool otherwise)
{
    const nlohmann::json* value = find(key);
    if (value == nullptr)
    {
        return otherwise;
    }
    if (!value->is_boolean())
    {
        fail(key, "is neither true nor false");
    }
    return value->get<bool>();
}

uint64_t Fields::number(const char* key, uint64_t otherwise, uint64_t least,
                        uint64_t most)
{
    const nlohmann::json* value = find(key);
    if (value == nullptr)
    {
        return otherwise;
    }
    if (!value->is_number_unsigned() || value->get<uint64_t>() < least ||
        value->get<uint64_t>() > most)
    {
        fail(key, "is no number from " + std::to_string(least) + " to " +
                      std::to_string(most));
    }
    return value->get<uint64_t>();
}

std::string Fields::text(const char* key, const std::string& otherwise)
{
    const nlohmann::json* value = find(key);
    if (value == nullptr)
    {
        return otherwise;
    }
    if (!value->is_string())
    {
        fail(key, "is no text");
    }
    return value->get<std::string>();
}

std::vector<uint8_t> Fields::hex(const char* key)
{
    std::string digits = text(key, "");
    try
    {
        return fromHex(digits);
    }
    catch (const std::invalid_argument& error)
    {
        fail(key, std::string("has ") + error.what());
    }
}

std::span<const nlohmann::json> Fields::array(const char* key)
{
    const nlohmann::json* value = find(key);
    if (value == nullptr)
    {
        return {};
    }
    if (!value->is_array())
    {
        fail(key, "is no array");
    }
    return value->get_ref<const nlohmann::json::array_t&>();
}

void Fields::done() const
{
    for (const auto& [key, value] : object.items())
    {
        if (!asked.contains(key))
        {
            fail(key, "is unknown");
        }
    }
}

void Fields::fail(std::string_view key, std::string_view why) const
{
    throw std::invalid_argument(place + "." + std::string(key) + " " +
                                std::string(why));
}

std::string Fields::under(const char* key, size_t index) const
{
    return place + "." + key + "[" + std::to_string(index) + "]";
}

} // namespace sim::spdm
