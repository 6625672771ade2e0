// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

#include <string>
#include <unordered_map>

namespace tool
{

/** Service name to object path. */
using ServicePaths = std::unordered_map<std::string, std::string>;

/** Find the BMC's own services (below /com/mervax) that have an interface.
 *
 *  With `-s` only that service's root object counts. The first service of an
 *  object's map is taken.
 *
 *  @param[out] result a later object replaces the path of a service that is
 *              there already
 *  @return false, with a line on standard output, when the mapper failed
 */
bool getServicesWithInterface(const DbusConnPtr& conn, const Options& options,
                              const char* interface, ServicePaths& result);

} // namespace tool
