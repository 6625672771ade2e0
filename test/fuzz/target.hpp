// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/** What fuzz targets have in common.
 *
 *  Each target is a program of its own: it defines target(), which hands the
 *  bytes to one of the tool's functions. Linked to replay.cpp it runs files,
 *  linked to libFuzzer it looks for others. What the tool prints is kept, and
 *  nothing reaches the journal.
 */
namespace fuzz
{

using Input = std::span<const uint8_t>;

/** One run. Exceptions that derive from std::exception are the tool's way to
 *  refuse an input; anything else that goes wrong is a finding. */
void target(Input input);

/** The process would have ended with this status. No std::exception, so that
 *  the tool's handlers let it pass as they let exit() pass. */
struct Exit
{
    int status;
};

/** What the tool has printed in this run. */
const std::string& printed();

/** The messages that would have gone to the journal in this run. */
const std::vector<std::string>& logged();

/** End the process, so that the input is kept, when a property fails. */
void require(bool holds, const char* property);

inline std::string textOf(Input input)
{
    return {input.begin(), input.end()};
}

/** Takes numbers off the front of an input; 0 behind its end. */
class Reader
{
  public:
    explicit Reader(Input input) : left(input)
    {
    }

    bool empty() const
    {
        return left.empty();
    }

    uint8_t byte()
    {
        if (left.empty())
        {
            return 0;
        }
        const uint8_t value = left.front();
        left = left.subspan(1);
        return value;
    }

    /** Little-endian. */
    uint32_t word(unsigned bytes = 4)
    {
        uint32_t value = 0;
        for (unsigned i = 0; i < bytes; ++i)
        {
            value |= uint32_t{byte()} << (8 * i);
        }
        return value;
    }

    /** The bytes up to a 0, which is dropped, or to the end. */
    std::string text()
    {
        const Input rest = left;
        std::size_t length = 0;
        while (length < rest.size() && rest[length] != 0)
        {
            ++length;
        }
        left = rest.subspan(length == rest.size() ? length : length + 1);
        return textOf(rest.first(length));
    }

    Input rest() const
    {
        return left;
    }

  private:
    Input left;
};

} // namespace fuzz
