// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tool
{

/** What `-p` asks of the event operation.
 *
 *  A key ("slot=") is looked for in the whole text and its value starts behind
 *  its first occurrence, wherever that is: within another key's value too.
 *  Numbers are read as std::stoul reads them in base 10, so that a blank or a
 *  sign may lead and anything may follow, and are cut to their size.
 */

/** An entry of the hidden log ("hide=", "delay="). */
struct HiddenRequest
{
    uint32_t type{0};
    uint32_t delay{0}; //!< seconds
};

/** The hidden entry that is asked for, none without "hide=".
 *
 *  @throw std::invalid_argument, std::out_of_range for a value without digits
 *         or beyond unsigned long
 */
std::optional<HiddenRequest> readHiddenRequest(const std::string& params);

/** Everything else, with the values that stand for an absent key. */
struct EventParams
{
    uint8_t slot{255};
    uint8_t port{255};
    uint8_t severity{255};
    uint8_t senState{0}; //!< old state above, new state in the low four bits
    std::string id;
    std::string name;
    std::string link;
};

/** @throw as readHiddenRequest() */
EventParams readEventParams(const std::string& params);

enum class EventKind
{
    link,
    storage,
    temperature,
    insufficient,
};

/** The event that the parameters suffice for; the first of the list wins. */
EventKind selectEvent(const EventParams& params, uint32_t address);

/** A PCIe device in the audit log's words: "3B:00:00 in Slot 3". */
std::string describeDevice(uint32_t address, uint8_t slot);

} // namespace tool
