// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message/types.hpp>

#include <cerrno>
#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
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

/** A vector of numbers can be taken over in one copy. */
template <typename T>
concept Block = isOne<T, std::vector> && Trivial<typename T::value_type>;

/** Copy a whole array of numbers.
 *  @return false, with nothing read, where sd-bus cannot give it as a block:
 *          another type, a damaged array, the other byte order */
template <Block T>
bool readBlock(sd_bus_message* m, T& value)
{
    using Item = typename T::value_type;
    const void* data = nullptr;
    std::size_t size = 0;

    if (sd_bus_message_read_array(m, basicType<Item>, &data, &size) <= 0)
    {
        return false;
    }
    if (size % sizeof(Item) != 0)
    {
        throw exception::SdBusError(
            EBUSY, "sd_bus_message_exit_container emplace_back_container");
    }
    const auto* items = static_cast<const Item*>(data); // aligned by sd-bus
    value.insert(value.end(), items, items + size / sizeof(Item));
    return true;
}

template <typename T>
void readText(sd_bus_message* m, T& value)
{
    const char* text = nullptr;
    check(sd_bus_message_read_basic(m, basicType<T>, static_cast<void*>(&text)),
          "sd_bus_message_read_basic string");
    value = T(text);
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

/** The element type of a map without the const of its key. */
template <typename T>
struct Writable
{
    using type = T;
};

template <typename K, typename V>
struct Writable<std::pair<K, V>>
{
    using type = std::pair<std::remove_const_t<K>, V>;
};

/** Maps and sets. The first of two equal keys stays. */
template <typename T>
void readMap(sd_bus_message* m, T& value)
{
    using Item = typename Writable<typename T::value_type>::type;

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

template <typename T>
void readComposite(sd_bus_message* m, T& value)
{
    constexpr char type = Pair<T> ? SD_BUS_TYPE_DICT_ENTRY : SD_BUS_TYPE_STRUCT;

    check(sd_bus_message_enter_container(m, type, contentsOf<T>.text),
          "sd_bus_message_enter_container tuple");
    std::apply([m](auto&... members) { (readItem(m, members), ...); }, value);
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
    if constexpr (Block<T>)
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
    else if constexpr (Trivial<T> || std::same_as<T, const char*>)
    {
        check(sd_bus_message_read_basic(m, basicType<T>,
                                        static_cast<void*>(&value)),
              "sd_bus_message_read_basic fundamental");
    }
    else if constexpr (basicType<T> != '\0')
    {
        readText(m, value);
    }
    else if constexpr (Variant<T>)
    {
        readVariant(m, value);
    }
    else if constexpr (Pair<T> || Tuple<T>)
    {
        readComposite(m, value);
    }
    else
    {
        static_assert(Container<T>,
                      "No dbus type conversion provided for type.");
        readContainer(m, value);
    }
}

} // namespace sdbusplus::message::details
