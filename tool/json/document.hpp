#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string_view>

/** How many arrays and objects may stand in one another.
 *
 *  Printing and serialising recurse per level and documents come from other
 *  processes, so the depth is bounded while one is built.
 */
inline constexpr std::size_t maxJsonDepth = 512;

/** Parse a JSON document that somebody else wrote.
 *
 *  @throw std::length_error when it is nested too deep
 *  @throw nlohmann::json::parse_error when it is not JSON
 */
nlohmann::json parseDocument(std::string_view text);

/** The same, but text that is no JSON gives a discarded value.
 *
 *  @throw std::length_error when it is nested too deep
 */
nlohmann::json tryParseDocument(std::string_view text);
