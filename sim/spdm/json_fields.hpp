#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim::spdm
{

/** A word of the configuration and what it stands for. */
template <typename T>
using Word = std::pair<std::string_view, T>;

/**
 * The members of one JSON object, each asked for once by name. What was never
 * asked for is an unknown key. Everything wrong throws std::invalid_argument
 * that names the place.
 */
class Fields
{
  public:
    Fields(const nlohmann::json& object, std::string place);

    /** The member, or null if it is absent. */
    const nlohmann::json* find(const char* key);

    bool flag(const char* key, bool otherwise);
    uint64_t number(const char* key, uint64_t otherwise, uint64_t least,
                    uint64_t most);
    std::string text(const char* key, const std::string& otherwise);

    /** Bytes written in hexadecimal; none if the member is absent. */
    std::vector<uint8_t> hex(const char* key);

    /** Elements of an array; none if the member is absent. */
    std::span<const nlohmann::json> array(const char* key);

    template <typename T, size_t n>
    T word(const char* key, T otherwise, const Word<T> (&words)[n])
    {
        const nlohmann::json* value = find(key);
        return value == nullptr
                 ? otherwise
                 : pick(*value, std::span<const Word<T>>(words), key);
    }

    /** What the text stands for. */
    template <typename T>
    T pick(const nlohmann::json& value, std::span<const Word<T>> words,
           const char* key) const
    {
        if (value.is_string())
        {
            for (const auto& [name, meaning] : words)
            {
                if (name == value.get_ref<const std::string&>())
                {
                    return meaning;
                }
            }
        }
        fail(key, "is none of the words it may be");
    }

    /** To be called last: throws if there is a member nobody asked for. */
    void done() const;

    [[noreturn]] void fail(std::string_view key, std::string_view why) const;

    [[nodiscard]] std::string under(const char* key, size_t index) const;

  private:
    const nlohmann::json& object;
    std::string place;
    std::set<std::string, std::less<>> asked;
};

} // namespace sim::spdm
