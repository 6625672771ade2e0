// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <boost/container/flat_map.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/** The object mapper: which service implements which interface where.
 *
 *  Each function throws sdbusplus::exception::SdBusError when the mapper gives
 *  no answer.
 */
namespace io::mapper
{

using Names = std::vector<std::string>;

/** Service name to the interfaces that it has there, by name. */
using ServiceMap = boost::container::flat_map<std::string, Names>;

/** Reply of GetSubTree, a{sa{sas}}: object paths in the mapper's order. */
using SubTree = std::vector<std::pair<std::string, ServiceMap>>;

/** The objects below a path that have the interface, and who has it. */
bus::Answer<SubTree> getSubTree(const DbusConnPtr& conn, const char* path,
                                int32_t depth, const std::string& interface);

/** The paths of these objects. */
bus::Answer<Names> getSubTreePaths(const DbusConnPtr& conn, const char* path,
                                   int32_t depth, const std::string& interface);

/** The services that have the interface at a path, in the mapper's order. */
bus::Answer<Names> getServices(const DbusConnPtr& conn, const char* path,
                               const std::string& interface);

} // namespace io::mapper
