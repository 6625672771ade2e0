// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tool
{

/** The parsed command line: built once, then handed to every operation.
 *
 *  A value of 0 of `address` and `resourceId` means "not given"; an explicit
 *  zero is not told apart from an absent option.
 */
struct Options
{
    std::string operation{"list"}; //!< -o
    std::string target;            //!< -t
    std::string reservedText;      //!< carried, set by no option
    std::string params;            //!< -p
    std::string service;           //!< -s, the word of a service's name
    std::string file;              //!< -f
    uint32_t address{0};           //!< -a, hexadecimal
    uint8_t reservedByte{0};       //!< carried, set by no option
    int32_t resourceId{0};         //!< -r, decimal
    bool verbose{false};           //!< -v
    /** Taken just before the operation starts. */
    std::chrono::system_clock::time_point startTime;
};

/** Read the command line; a later repetition of an option wins.
 *
 *  A number that its field does not hold counts as not given.
 *
 *  @return false when the usage text is wanted: `-h`, an unknown option, or an
 *          option without its argument (getopt has then said so on standard
 *          error)
 */
bool parseOptions(int argc, char* argv[], Options& options);

/** The usage text; every line of it ends in carriage return and line feed. */
extern const std::string_view usageText;

/** The first word that belongs to no option, null when there is none.
 *
 *  To be asked once parseOptions() has returned true.
 */
const char* unexpectedArgument(int argc, char* const argv[]);

} // namespace tool
