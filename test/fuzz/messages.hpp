// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/message.hpp>

#include <cstdint>
#include <string>

/** Messages that no bus has seen. */
namespace fuzz
{

/** A signal that holds these values in this order, ready to be read: a number
 *  for "u", a text for "s".
 *
 *  @throw sdbusplus::exception::SdBusError for a text that no message can hold
 */
class Signal
{
  public:
    Signal();
    Signal& add(uint32_t number);
    Signal& add(const std::string& text);
    sdbusplus::message_t seal();

  private:
    sdbusplus::message_t message;
};

} // namespace fuzz
