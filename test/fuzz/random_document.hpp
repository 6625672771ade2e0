// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace fuzz
{

struct Known;

/** The text of a document such as a service might send by mistake.
 *
 *  Most of it is a list with the members that listings read. Some have values
 *  of another type, some come twice, objects stand for arrays and the other way
 *  round, and some texts are no JSON, or deeper than what is read.
 */
class RandomDocument
{
  public:
    explicit RandomDocument(uint64_t seed) : random(seed)
    {
    }

    std::string text();

  private:
    std::mt19937_64 random;

    std::size_t below(std::size_t limit);
    bool oneIn(std::size_t limit);
    std::string pick(std::span<const char* const> words);
    std::string anything(unsigned level);
    std::string member(std::string_view parent, unsigned level);
    std::string valueOf(const Known& known, unsigned level);
    std::string object(std::string_view parent, unsigned level);
    std::string array(std::string_view parent, unsigned level);
    void damage(std::string& document);
};

} // namespace fuzz
