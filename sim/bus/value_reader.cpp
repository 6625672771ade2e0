// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/bus_error.hpp"
#include "sim/bus/value.hpp"

#include <systemd/sd-bus.h>

namespace sim
{

namespace
{

Json readValue(sd_bus_message* message, char type, const char* contents);

/** The values up to the end of the container that is open. */
Json readSequence(sd_bus_message* message)
{
    Json items = Json::array();
    char type = 0;
    const char* contents = nullptr;
    while (check(sd_bus_message_peek_type(message, &type, &contents), "read") >
           0)
    {
        items.push_back(readValue(message, type, contents));
    }
    return items;
}

template <typename T>
T readBasic(sd_bus_message* message, char type)
{
    T value{};
    check(sd_bus_message_read_basic(message, type, static_cast<void*>(&value)),
          "read");
    return value;
}

/** A dictionary with text keys becomes an object, others stay pairs. */
Json dictionaryOf(Json pairs, const char* contents)
{
    if (contents[0] != '{' || contents[1] != 's')
    {
        return pairs;
    }
    Json object = Json::object();
    for (Json& pair : pairs)
    {
        object[pair[0].get<std::string>()] = std::move(pair[1]);
    }
    return object;
}

Json readContainer(sd_bus_message* message, char type,
                   const std::string& contents)
{
    check(sd_bus_message_enter_container(message, type, contents.c_str()),
          "read");
    Json items = readSequence(message);
    check(sd_bus_message_exit_container(message), "read");
    if (type == 'v')
    {
        return Json{{"signature", contents}, {"value", items.at(0)}};
    }
    if (type == 'a')
    {
        return dictionaryOf(std::move(items), contents.c_str());
    }
    return items;
}

Json readValue(sd_bus_message* message, char type, const char* contents)
{
    switch (type)
    {
        case 'y':
            return readBasic<uint8_t>(message, type);
        case 'b':
            return readBasic<int>(message, type) != 0;
        case 'n':
            return readBasic<int16_t>(message, type);
        case 'q':
            return readBasic<uint16_t>(message, type);
        case 'i':
        case 'h':
            return readBasic<int32_t>(message, type);
        case 'u':
            return readBasic<uint32_t>(message, type);
        case 'x':
            return readBasic<int64_t>(message, type);
        case 't':
            return readBasic<uint64_t>(message, type);
        case 'd':
            return readBasic<double>(message, type);
        case 's':
        case 'o':
        case 'g':
            return readBasic<const char*>(message, type);
        default:
            return readContainer(message, type, contents);
    }
}

} // namespace

Json readValues(sd_bus_message* message)
{
    return readSequence(message);
}

} // namespace sim
