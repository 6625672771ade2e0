// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace sim
{

/** What an object mapper knows: path to service to its interfaces there. */
using Holdings =
    std::map<std::string, std::map<std::string, std::vector<std::string>>>;

/** Adds every path above a known one, held by nobody: introspection passes
 *  through them, so a mapper knows them too. */
void addParents(Holdings& holdings);

/** Whether a subtree can be asked for; its root may end with a slash. */
bool knows(const Holdings& holdings, const std::string& root);

/** The services at a path that have any of the interfaces, with all their
 *  interfaces there; an empty list asks for none in particular. */
Holdings::mapped_type servicesAt(const Holdings& holdings,
                                 const std::string& path,
                                 const std::vector<std::string>& interfaces);

/** The paths below a root, the root itself not, that some service holds with
 *  any of the interfaces. An empty list asks for none in particular, and then
 *  for paths that nobody holds, too. depth: how many path words below the
 *  root; 0 or less means all. */
Holdings subTree(const Holdings& holdings, const std::string& root, int depth,
                 const std::vector<std::string>& interfaces);

} // namespace sim
