// SPDX-License-Identifier: Apache-2.0
#include "tool/options.hpp"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace
{

/** The number that a word begins with; 0 when it begins with none, or with
 *  one that T does not hold. 64 bits on every machine. */
template <typename T>
T numberOf(const char* word, int base)
{
    const long long number = std::strtoll(word, nullptr, base);
    return std::in_range<T>(number) ? static_cast<T>(number) : 0;
}

} // namespace

bool tool::parseOptions(int argc, char* argv[], Options& options)
{
    int option = 0;
    while ((option = getopt(argc, argv, "hvs:a:o:t:r:p:f:")) != -1)
    {
        switch (option)
        {
            case 'v':
                options.verbose = true;
                break;
            case 's':
                options.service = optarg;
                break;
            case 'a':
                options.address = numberOf<uint32_t>(optarg, 16);
                break;
            case 'o':
                options.operation = optarg;
                break;
            case 't':
                options.target = optarg;
                break;
            case 'r':
                options.resourceId = numberOf<int32_t>(optarg, 10);
                break;
            case 'p':
                options.params = optarg;
                break;
            case 'f':
                options.file = optarg;
                break;
            default:
                return false;
        }
    }
    return true;
}

const char* tool::unexpectedArgument(int argc, char* const argv[])
{
    return optind < argc ? argv[optind] : nullptr;
}
