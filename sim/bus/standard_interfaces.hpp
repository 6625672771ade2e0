// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/object_tree.hpp"

#include <map>
#include <string>

namespace sim
{

inline constexpr const char* propertiesInterface =
    "org.freedesktop.DBus.Properties";
inline constexpr const char* introspectableInterface =
    "org.freedesktop.DBus.Introspectable";

/** Whether a call on the properties is one of those below. */
bool takesProperties(const Call& call);

/** "Get" and "GetAll"; the simulated services have nothing to be set. */
Reply answerProperties(const Object& object, const Call& call);

/** "Introspect", also for the paths above the objects, so that busctl's tree
 *  and introspect verbs work. */
Reply introspect(const std::map<std::string, Object>& objects,
                 const Call& call);

} // namespace sim
