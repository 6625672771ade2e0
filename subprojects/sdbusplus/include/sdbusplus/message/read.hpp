// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message/types.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/** Reading C++ values out of a message.
 *
 *  Every length and offset is checked by sd-bus, which all of this goes
 *  through. What does not have the type that is asked for raises a SdBusError
 *  (ENXIO) whose text names the function and the kind of value. */
namespace sdbusplus::message::details
{

template <typename T>
void readItem(sd_bus_message* m, T& value);

/** @param[in] r - what sd-bus returned; negative errno raises SdBusError */
inline void check(int r, const char* step)
{
    if (r < 0)
    {
        throw exception::SdBusError(-r, step);
    }
}

template <typename T>
concept Growable = requires(T& t)
{
    t.emplace_back();
};

/** Copy a whole array of bytes.
 *  @return false, with nothing read, where there is something else */
inline bool readBlock(sd_bus_message* m, std::vector<uint8_t>& value)
{
    const void* data = nullptr;
    std::size_t size = 0;

    if (sd_bus_message_read_array(m, SD_BUS_TYPE_BYTE, &data, &size) <= 0)
    {
        return false;
    }
    const auto* bytes = static_cast<const uint8_t*>(data);
    value.insert(value.end(), bytes, bytes + size);
    return true;
}

inline void readText(sd_bus_message* m, std::string& value)
{
    const char* text = nullptr;
    check(sd_bus_message_read_basic(m, SD_BUS_TYPE_STRING,
                                    static_cast<void*>(&text)),
          "sd_bus_message_read_basic string");
    value = text;
}

inline void readBool(sd_bus_message* m, bool& value)
{
    int number = 0; // sd-bus gives a boolean as an int
    check(sd_bus_message_read_basic(m, SD_BUS_TYPE_BOOLEAN, &number),
          "sd_bus_message_read_basic bool");
    value = number != 0;
}

template <Growable T>
void readSequence(sd_bus_message* m, T& value)
{
    using Item = typename T::value_type;

    check(sd_bus_message_enter_container(m, SD_BUS_TYPE_ARRAY,
                                         signatureOf<Item>.text),
          "sd_bus_message_enter_container emplace_back_container");
    int end = 0;
    while ((end = sd_bus_message_at_end(m, 0)) == 0)
    {
        Item item{};
        readItem(m, item);
        value.emplace_back(std::move(item));
    }
    check(end, "sd_bus_message_at_end emplace_back_container");
    check(sd_bus_message_exit_container(m),
          "sd_bus_message_exit_container emplace_back_container");
}

/** Flat maps. The first of two equal keys stays. */
template <typename T>
void readMap(sd_bus_message* m, T& value)
{
    using Item = typename T::value_type;

    check(sd_bus_message_enter_container(m, SD_BUS_TYPE_ARRAY,
                                         signatureOf<Item>.text),
          "sd_bus_message_enter_container emplace_container");
    int end = 0;
    while ((end = sd_bus_message_at_end(m, 0)) == 0)
    {
        Item item{};
        readItem(m, item);
        value.emplace(std::move(item));
    }
    check(end, "sd_bus_message_at_end emplace_container");
    check(sd_bus_message_exit_container(m),
          "sd_bus_message_exit_container emplace_container");
}

template <Pair T>
void readPair(sd_bus_message* m, T& value)
{
    check(sd_bus_message_enter_container(m, SD_BUS_TYPE_DICT_ENTRY,
                                         contentsOf<T>.text),
          "sd_bus_message_enter_container tuple");
    readItem(m, value.first);
    readItem(m, value.second);
    check(sd_bus_message_exit_container(m),
          "sd_bus_message_exit_container tuple");
}

/** Read the variant as this alternative if it holds one.
 *  @return whether it did */
template <typename Item, typename T>
bool readAlternative(sd_bus_message* m, T& value)
{
    constexpr const char* contents = signatureOf<Item>.text;

    const int r = sd_bus_message_verify_type(m, SD_BUS_TYPE_VARIANT, contents);
    check(r, "sd_bus_message_verify_type variant");
    if (r == 0)
    {
        return false;
    }
    check(sd_bus_message_enter_container(m, SD_BUS_TYPE_VARIANT, contents),
          "sd_bus_message_enter_container variant");
    Item item{};
    readItem(m, item);
    value.template emplace<Item>(std::move(item));
    check(sd_bus_message_exit_container(m),
          "sd_bus_message_exit_container variant");
    return true;
}

/** A variant that holds none of the alternatives is skipped, and the value is
 *  the first alternative as it is default-constructed. */
template <typename... Items>
void readVariant(sd_bus_message* m, std::variant<Items...>& value)
{
    if (!(... || readAlternative<Items>(m, value)))
    {
        check(sd_bus_message_skip(m, "v"), "sd_bus_message_skip variant");
        value.template emplace<0>();
    }
}

template <typename T>
void readContainer(sd_bus_message* m, T& value)
{
    if constexpr (std::same_as<T, std::vector<uint8_t>>)
    {
        if (readBlock(m, value))
        {
            return;
        }
    }
    if constexpr (Growable<T>)
    {
        readSequence(m, value);
    }
    else
    {
        readMap(m, value);
    }
}

template <typename T>
void readItem(sd_bus_message* m, T& value)
{
    if constexpr (std::same_as<T, std::monostate>)
    {
        // Stands for "none of the others": there is nothing to read.
    }
    else if constexpr (std::same_as<T, bool>)
    {
        readBool(m, value);
    }
    else if constexpr (std::same_as<T, std::string>)
    {
        readText(m, value);
    }
    else if constexpr (basicType<T> != '\0')
    {
        check(sd_bus_message_read_basic(m, basicType<T>,
                                        static_cast<void*>(&value)),
              "sd_bus_message_read_basic fundamental");
    }
    else if constexpr (Variant<T>)
    {
        readVariant(m, value);
    }
    else if constexpr (Pair<T>)
    {
        readPair(m, value);
    }
    else
    {
        static_assert(Container<T>,
                      "No dbus type conversion provided for type.");
        readContainer(m, value);
    }
}

} // namespace sdbusplus::message::details
