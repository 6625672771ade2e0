// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

namespace tool
{

/** Print a document on standard output in the tool's own layout.
 *
 *  A key per line with the JSON type of its value, objects and arrays between
 *  lines with a brace or a bracket. Numbers whose key speaks of PCI (and, at
 *  the top, of an address or of out-of-band) are shown in hexadecimal. A null
 *  document, an empty object and an empty array print nothing.
 *
 *  @param level nesting level; its indent is four blanks a level but for one,
 *               none for level 0. Whole documents are printed at level 0.
 *  @throw nlohmann::json::invalid_iterator for an array document with an
 *         element that is neither object nor array: it would need a key
 *  @throw nlohmann::json::type_error for text that is not UTF-8
 */
void printJson(const nlohmann::json& document, unsigned level);

} // namespace tool
