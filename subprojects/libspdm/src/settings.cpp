// SPDX-License-Identifier: Apache-2.0
#include "context.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** Where an item can be set and read. */
enum Access : uint8_t
{
    setLocal = 1,
    setConnection = 2,
    readLocal = 4,
    readConnection = 8,
};

constexpr uint8_t setBoth = setLocal | setConnection;
constexpr uint8_t algorithmAccess = setBoth | readConnection;

/** An item that is copied byte by byte. */
struct Item
{
    libspdm_data_type_t type;
    uint8_t access;
    size_t size;
    void* (*in)(Context& context, bool local, uint8_t slot);
};

Capability& capability(Context& context, bool local)
{
    return local ? context.local.capability : context.connection.capability;
}

Algorithms& algorithms(Context& context, bool local)
{
    return local ? context.local.algorithms : context.connection.algorithms;
}

template <auto field>
void* inCapability(Context& context, bool local, uint8_t /*slot*/)
{
    return &(capability(context, local).*field);
}

template <auto field>
void* inAlgorithms(Context& context, bool local, uint8_t /*slot*/)
{
    return &(algorithms(context, local).*field);
}

template <auto field>
void* inLocal(Context& context, bool /*local*/, uint8_t /*slot*/)
{
    return &(context.local.*field);
}

template <auto field>
void* inConnection(Context& context, bool /*local*/, uint8_t /*slot*/)
{
    return &(context.connection.*field);
}

/** Null for a slot that does not exist. */
template <auto field>
void* inSlot(Context& context, bool /*local*/, uint8_t slot)
{
    return slot < SPDM_MAX_SLOT_COUNT ? &(context.peer.slots[slot].*field)
                                      : nullptr;
}

constexpr std::array items{
    Item{LIBSPDM_DATA_SPDM_VERSION, setConnection | readConnection, 2,
         inConnection<&Connection::version>},
    Item{LIBSPDM_DATA_CAPABILITY_FLAGS, setBoth | readLocal | readConnection, 4,
         inCapability<&Capability::flags>},
    Item{LIBSPDM_DATA_CAPABILITY_CT_EXPONENT,
         setBoth | readLocal | readConnection, 1,
         inCapability<&Capability::ctExponent>},
    Item{LIBSPDM_DATA_CAPABILITY_RTT_US, setLocal, 8,
         inLocal<&Local::rttMicroseconds>},
    Item{LIBSPDM_DATA_MEASUREMENT_SPEC, algorithmAccess, 1,
         inAlgorithms<&Algorithms::measurementSpec>},
    Item{LIBSPDM_DATA_MEASUREMENT_HASH_ALGO, algorithmAccess, 4,
         inAlgorithms<&Algorithms::measurementHash>},
    Item{LIBSPDM_DATA_BASE_ASYM_ALGO, algorithmAccess, 4,
         inAlgorithms<&Algorithms::baseAsym>},
    Item{LIBSPDM_DATA_BASE_HASH_ALGO, algorithmAccess, 4,
         inAlgorithms<&Algorithms::baseHash>},
    Item{LIBSPDM_DATA_DHE_NAME_GROUP, algorithmAccess, 2,
         inAlgorithms<&Algorithms::dhe>},
    Item{LIBSPDM_DATA_AEAD_CIPHER_SUITE, algorithmAccess, 2,
         inAlgorithms<&Algorithms::aead>},
    Item{LIBSPDM_DATA_REQ_BASE_ASYM_ALG, algorithmAccess, 2,
         inAlgorithms<&Algorithms::reqBaseAsym>},
    Item{LIBSPDM_DATA_KEY_SCHEDULE, algorithmAccess, 2,
         inAlgorithms<&Algorithms::keySchedule>},
    Item{LIBSPDM_DATA_OTHER_PARAMS_SUPPORT, algorithmAccess, 1,
         inAlgorithms<&Algorithms::otherParams>},
    Item{LIBSPDM_DATA_MEL_SPEC, algorithmAccess, 1,
         inAlgorithms<&Algorithms::melSpec>},
    Item{LIBSPDM_DATA_CONNECTION_STATE, setConnection | readConnection,
         sizeof(libspdm_connection_state_t), inConnection<&Connection::state>},
    Item{LIBSPDM_DATA_PEER_KEY_PAIR_ID, readConnection, 1,
         inSlot<&PeerSlot::keyPairId>},
    Item{LIBSPDM_DATA_PEER_CERT_INFO, readConnection, 1,
         inSlot<&PeerSlot::certInfo>},
    Item{LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, readConnection, 2,
         inSlot<&PeerSlot::keyUsage>},
};

const Item* find(libspdm_data_type_t type)
{
    const auto* found = std::ranges::find(items, type, &Item::type);
    return found != items.end() ? found : nullptr;
}

bool maySet(const Item& item, libspdm_data_location_t location)
{
    uint8_t needed =
        location == LIBSPDM_DATA_LOCATION_LOCAL ? setLocal : setConnection;
    return (item.access & needed) != 0;
}

bool mayRead(const Item& item, libspdm_data_location_t location)
{
    uint8_t needed =
        location == LIBSPDM_DATA_LOCATION_LOCAL ? readLocal : readConnection;
    return (item.access & needed) != 0;
}

libspdm_return_t addRoot(Context& context, const void* data, size_t size)
{
    auto room = std::ranges::find(context.local.roots, nullptr, &Root::data);
    if (room == context.local.roots.end())
    {
        return LIBSPDM_STATUS_BUFFER_FULL;
    }
    *room = {static_cast<const uint8_t*>(data), size};
    return LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t setItem(Context& context, const Item& item,
                         const libspdm_data_parameter_t& parameter,
                         const void* data, size_t size)
{
    if ((item.access & setBoth) == 0)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (size != item.size || !maySet(item, parameter.location))
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    bool local = parameter.location == LIBSPDM_DATA_LOCATION_LOCAL;
    std::memcpy(item.in(context, local, 0), data, size);
    return LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t readItem(Context& context, const Item& item,
                          const libspdm_data_parameter_t& parameter, void* data,
                          size_t& size)
{
    constexpr uint8_t anyRead = readLocal | readConnection;
    if ((item.access & anyRead) == 0)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    bool local = parameter.location == LIBSPDM_DATA_LOCATION_LOCAL;
    const void* value = item.in(context, local, parameter.additional_data[0]);
    if (!mayRead(item, parameter.location) || value == nullptr)
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    size_t room = size;
    size = item.size;
    if (room < item.size)
    {
        return LIBSPDM_STATUS_BUFFER_TOO_SMALL;
    }
    std::memcpy(data, value, item.size);
    return LIBSPDM_STATUS_SUCCESS;
}

} // namespace

} // namespace spdm

libspdm_return_t libspdm_set_data(void* spdm_context,
                                  libspdm_data_type_t data_type,
                                  const libspdm_data_parameter_t* parameter,
                                  void* data, size_t data_size)
{
    if (spdm_context == nullptr || parameter == nullptr || data == nullptr)
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    spdm::Context& context = *static_cast<spdm::Context*>(spdm_context);
    bool local = parameter->location == LIBSPDM_DATA_LOCATION_LOCAL;
    if (data_type == LIBSPDM_DATA_PEER_PUBLIC_ROOT_CERT)
    {
        return local ? spdm::addRoot(context, data, data_size)
                     : LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    const spdm::Item* item = spdm::find(data_type);
    return item == nullptr
             ? LIBSPDM_STATUS_INVALID_PARAMETER
             : spdm::setItem(context, *item, *parameter, data, data_size);
}

libspdm_return_t libspdm_get_data(void* spdm_context,
                                  libspdm_data_type_t data_type,
                                  const libspdm_data_parameter_t* parameter,
                                  void* data, size_t* data_size)
{
    if (spdm_context == nullptr || parameter == nullptr || data == nullptr ||
        data_size == nullptr)
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    spdm::Context& context = *static_cast<spdm::Context*>(spdm_context);
    const spdm::Item* item = spdm::find(data_type);
    return item == nullptr
             ? LIBSPDM_STATUS_INVALID_PARAMETER
             : spdm::readItem(context, *item, *parameter, data, *data_size);
}
