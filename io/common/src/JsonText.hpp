#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string_view>

namespace io
{

/** How deep documents of services may be: printing and serialising recurse. */
inline constexpr std::size_t maxJsonDepth = 512;

/** Parse a JSON text that somebody else wrote.
 *
 *  Printing, serialising and destroying a document recurse per level, so the
 *  depth is bounded while it is built.
 *
 *  @param maxDepth how many arrays and objects may stand in one another
 *  @throw std::length_error where they go deeper
 *  @throw nlohmann::json::exception where it is not JSON, or holds a number
 *         beyond a double's range
 */
nlohmann::json parseJson(std::string_view text,
                         std::size_t maxDepth = maxJsonDepth);

/** The same, but text that is no JSON gives a discarded value.
 *
 *  @throw std::length_error as parseJson()
 */
nlohmann::json tryParseJson(std::string_view text,
                            std::size_t maxDepth = maxJsonDepth);

} // namespace io
