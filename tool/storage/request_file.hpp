// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace tool
{

/** Read the JSON document that `-f` names.
 *
 *  @param[out] document untouched when the file could not be used
 *  @return false, with a line on standard error, when the file cannot be
 *          opened or holds no JSON (a directory and an empty file hold none)
 *  @throw std::length_error when it is nested too deep, or longer than what
 *         could be sent on
 */
bool readRequestFile(const std::string& name, nlohmann::json& document);

} // namespace tool
