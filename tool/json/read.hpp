#pragma once

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <string>

/** Readers with defaults for members of documents that services send.
 *
 *  They behave as nlohmann's value() with a key or a pointer does, but a
 *  missing member costs no exception inside the library.
 */

/** The member of that name, or null when there is none (or no object). */
const nlohmann::json* findMember(const nlohmann::json& object, const char* key);

/** The value that a path of keys leads to, or null when a step is missing.
 *
 *  @throw nlohmann::json::type_error when `item` is not an object
 */
const nlohmann::json* findPath(const nlohmann::json& item,
                               std::initializer_list<const char*> keys);

/** The value at a path of keys, or the default when it is missing.
 *
 *  @throw nlohmann::json::exception as findPath(), and when the value is there
 *         but of another type
 */
template <typename T>
T readOr(const nlohmann::json& item, std::initializer_list<const char*> keys,
         T fallback)
{
    const nlohmann::json* found = findPath(item, keys);
    return found == nullptr ? fallback : found->get<T>();
}

/** A text member, empty when it is missing. */
std::string readText(const nlohmann::json& item, const char* key);
