// SPDX-License-Identifier: Apache-2.0
#include "target.hpp"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

namespace
{

/** The bytes of hexadecimal digits between blanks. */
std::string fromHex(const std::string& text)
{
    std::string bytes;
    std::string digits;
    for (const char letter : text)
    {
        if (std::isxdigit(static_cast<unsigned char>(letter)) == 0)
        {
            continue;
        }
        digits += letter;
        if (digits.size() == 2)
        {
            bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
            digits.clear();
        }
    }
    return bytes;
}

void run(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (file.extension() == ".hex")
    {
        content = fromHex(content);
    }
    // On the heap and of the very size, so that a step beyond it is noticed.
    const std::vector<uint8_t> bytes(content.begin(), content.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

/** Runs every file of the folders that are named, and the empty input. */
int main(int argc, char* argv[])
{
    LLVMFuzzerTestOneInput(nullptr, 0);
    unsigned files = 0;
    for (int i = 1; i < argc; ++i)
    {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
        {
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            run(entry.path());
            ++files;
        }
    }
    std::fprintf(stderr, "%u files\n", files);
    return files > 0 ? 0 : 1;
}
