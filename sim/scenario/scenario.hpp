// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <string>
#include <vector>

namespace sim
{

/** Loads scenario files and lays each over those before it as a JSON merge
 *  patch. Before that, in each file:
 *
 *  - {"@file": "name"} anywhere becomes that file's document (the name counts
 *    from the scenario's folder);
 *  - {"@repeat": N, "item": x} in an array becomes N items x, numbered from 0:
 *    in them the text "@index" becomes the number, and "{index}" inside a text
 *    its digits.
 *
 *  Throws ScenarioError. */
Json loadScenario(const std::vector<std::string>& files);

/** The same replacements in a document; folder is where "@file" looks. */
Json expand(const Json& document, const std::string& folder);

} // namespace sim
