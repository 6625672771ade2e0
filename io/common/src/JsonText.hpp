// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>

namespace io
{

/** How many values a document may hold, the containers among them.
 *
 *  A value takes up to about 160 bytes and as little as two of its text, so a
 *  text as long as a bus message could take more memory than a BMC has. This
 *  many take up to 80 MB beside the text. The document of 10,000 drives holds
 *  200,000.
 */
inline constexpr std::size_t maxJsonValues = 500'000;

/** How deep documents of services may be: printing and serialising recurse. */
inline constexpr std::size_t maxJsonDepth = 512;

/** A part of a document that its reader asks for. */
struct Kept
{
    std::string_view key;            //!< everyItem, or of a member
    std::span<const Kept> members{}; //!< of its value; none: all of them
};

/** Stands alone, for every element of an array and member of an object. */
inline constexpr std::string_view everyItem{};

/** What a listing wants of a document: one list, and some of each item.
 *
 *  All else is read and counted, so that a document is refused for the same
 *  reasons, but takes no memory. A value that is wanted keeps its kind and,
 *  unless it is a container, itself; an array where members are named keeps
 *  its kind only.
 */
struct Wanted
{
    std::string_view list{};         //!< a member's key; none: the document
    std::span<const Kept> members{}; //!< of each item

    /** Makes less of an item that is an object or an array, once it is read. */
    std::function<void(nlohmann::json&)> fold{};
};

/** Parse a JSON text that somebody else wrote.
 *
 *  Printing, serialising and destroying a document recurse per level, so the
 *  depth is bounded while it is built, and so is the number of values.
 *
 *  @param maxDepth how many arrays and objects may stand in one another
 *  @throw std::length_error where they go deeper, or for too many values
 *  @throw nlohmann::json::exception where it is not JSON, or holds a number
 *         beyond a double's range
 */
nlohmann::json parseJson(std::string_view text,
                         std::size_t maxDepth = maxJsonDepth);

/** The same, but only what is wanted. Throws as well what a fold throws. */
nlohmann::json parseJson(std::string_view text, const Wanted& wanted);

/** The same, but text that is no JSON gives a discarded value.
 *
 *  @throw std::length_error as parseJson()
 */
nlohmann::json tryParseJson(std::string_view text,
                            std::size_t maxDepth = maxJsonDepth);

} // namespace io
