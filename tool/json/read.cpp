// SPDX-License-Identifier: Apache-2.0
#include "tool/json/read.hpp"

using nlohmann::json;

namespace tool
{

const json* findMember(const json& object, const char* key)
{
    if (!object.is_object())
    {
        return nullptr;
    }
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

namespace
{

/** A key is no index: raise what the library raises for it. */
void raiseForArray(const json& item, std::initializer_list<const char*> keys)
{
    json::json_pointer pointer;
    for (const char* key : keys)
    {
        pointer /= key;
    }
    static_cast<void>(item.value(pointer, false));
}

} // namespace

const json* findPath(const json& item, std::initializer_list<const char*> keys)
{
    if (!item.is_object())
    {
        // Not an object: raise what the library raises for it.
        static_cast<void>(item.value("", false));
    }
    const json* current = &item;
    for (const char* key : keys)
    {
        if (current->is_array())
        {
            raiseForArray(item, keys);
        }
        current = findMember(*current, key);
        if (current == nullptr)
        {
            return nullptr;
        }
    }
    return current;
}

std::string readText(const json& item, const char* key)
{
    return readOr(item, {key}, std::string());
}

uint64_t toInteger(double number) noexcept
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (number >= 0 && number < 2 * limit)
    {
        return static_cast<uint64_t>(number);
    }
    return number >= -limit && number < 0
             ? static_cast<uint64_t>(static_cast<int64_t>(number))
             : 0;
}

} // namespace tool
