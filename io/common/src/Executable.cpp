// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Executable.hpp"

#include <unistd.h>

#include <array>
#include <climits>

std::string io::executablePath()
{
    std::array<char, PATH_MAX> link{};
    const ssize_t length =
        readlink("/proc/self/exe", link.data(), link.size() - 1);
    return length < 0 ? std::string() : std::string(link.data());
}
