// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/ObjectMapper.hpp"
#include "tool/options.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace tool
{

/** Print which services publish which inventory objects with an interface.
 *
 *  The interface is named by `-f`, and `-s` keeps one of the BMC's own
 *  services only.
 *
 *  @return true when the document was printed, else prints what went wrong
 *  @throw sdbusplus::exception::SdBusError when the mapper gave no answer
 */
bool showObjects(const DbusConnPtr& bus, const Options& options);

/** Ask the object mapper for the objects below a path, two levels deep.
 *
 *  @param service bus name of the one service to keep, empty for all
 *  @param[in,out] found must come in as null and becomes an object
 *  @return false, with a line on standard output, when there is nothing to ask
 *          for or the mapper answered with an error
 *  @throw sdbusplus::exception::SdBusError when the mapper gave no answer
 */
bool getSubTree(const DbusConnPtr& bus, const std::string& searchPath,
                const std::vector<std::string>& requiredInterfaces,
                const std::string& service, nlohmann::json& found);

/** The document of a mapper's reply: {path: {service: [interface, …]}}.
 *
 *  Interfaces of one path and service that come in several pieces are joined.
 */
nlohmann::json objectDocument(const io::mapper::SubTree& tree,
                              const std::string& service);

} // namespace tool
