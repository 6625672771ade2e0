// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <string>
#include <string_view>

struct sd_bus_message;

namespace sim
{

/** D-Bus values written as JSON, after a signature:
 *
 *  - y n q i u x t: a number in the type's range; b: true or false; d: a number
 *  - s o g: a text
 *  - arrays: an array; a{..}: an object, or an array of [key, value] pairs
 * where the order, a repeated key or a key that is no text matters
 *  - (..): an array; v: {"signature": .., "value": ..}
 */

/** The first complete type of a signature, which is shortened by it. Throws
 *  ScenarioError when the signature does not begin with one. */
std::string_view takeType(std::string_view& signature);

/** Checks that the items of an array fit the signature, one complete type for
 *  each item. Throws ScenarioError. */
void checkValues(std::string_view signature, const Node& items);

/** Appends the items to a message. Throws as checkValues does, and
 *  std::system_error when sd-bus refuses a value. */
void appendValues(sd_bus_message* message, std::string_view signature,
                  const Json& items);

/** All arguments of a received message in the form above, containers that have
 *  text keys as objects. Throws std::system_error. */
Json readValues(sd_bus_message* message);

} // namespace sim
