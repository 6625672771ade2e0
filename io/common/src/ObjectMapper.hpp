#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

#include <boost/container/flat_map.hpp>

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/** The object mapper: which service implements which interface where. */
namespace io::mapper
{

inline constexpr const char* service = "xyz.openbmc_project.ObjectMapper";
inline constexpr const char* path = "/xyz/openbmc_project/object_mapper";
inline constexpr const char* interface = "xyz.openbmc_project.ObjectMapper";

/** Service name to the interfaces that it has there, by name. */
using ServiceMap =
    boost::container::flat_map<std::string, std::vector<std::string>>;

/** Reply of GetSubTree, a{sa{sas}}: object paths in the mapper's order. */
using SubTree = std::vector<std::pair<std::string, ServiceMap>>;

} // namespace io::mapper

/** Find the BMC's own services (below /com/mervax) that have an interface.
 *
 *  With `-s` only that service's root object counts. The first service of an
 *  object's map is taken.
 *
 *  @param[out] result service name to object path; a later object replaces
 *              the path of a service that is there already
 *  @return false, with a line on standard output, when the mapper failed
 */
bool getServicesWithInterface(
    const DbusConnPtr& conn, const Options& options, const char* interface,
    std::unordered_map<std::string, std::string>& result);
