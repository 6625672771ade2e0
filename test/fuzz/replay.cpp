// SPDX-License-Identifier: Apache-2.0
#include "target.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
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

using Bytes = std::vector<uint8_t>;

std::string toHex(const Bytes& bytes)
{
    std::string digits;
    for (const uint8_t byte : bytes)
    {
        digits +=
            {"0123456789abcdef"[byte >> 4U], "0123456789abcdef"[byte & 0xfU]};
    }
    return digits;
}

Bytes readSeed(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (file.extension() == ".hex")
    {
        content = fromHex(content);
    }
    return {content.begin(), content.end()};
}

void run(const std::string& name, const Bytes& bytes)
{
    std::fprintf(stderr, "%s\n", name.c_str());
    // On the heap and of the very size, so that a step beyond it is noticed.
    const Bytes exact(bytes);
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

/** Other bytes in some places, and now and then another length. */
void change(Bytes& bytes, std::mt19937& random)
{
    if (random() % 4 == 0)
    {
        bytes.resize(random() % (2 * bytes.size() + 2));
    }
    for (unsigned left = random() % 4; left > 0 && !bytes.empty(); --left)
    {
        const unsigned value = random() % 256;
        // Small numbers are counts, lengths and kinds that mean something.
        bytes[random() % bytes.size()] =
            static_cast<uint8_t>(random() % 2 == 0 ? value : value % 16);
    }
}

} // namespace

/** Runs the empty input, every file of a folder, and so many inputs that are
 *  made of them, the same in every run: COUNT FOLDER. */
int main(int argc, char* argv[])
{
    if (argc != 3)
    {
        return 1;
    }
    std::vector<Bytes> seeds;
    run("nothing", {});
    for (const auto& entry : std::filesystem::directory_iterator(argv[2]))
    {
        run(entry.path(), seeds.emplace_back(readSeed(entry.path())));
    }
    std::ranges::sort(seeds); // a folder has no order
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): to be repeated, not secret.
    std::mt19937 random;
    for (int round = 0; round < std::stoi(argv[1]); ++round)
    {
        Bytes bytes = seeds.at(random() % seeds.size());
        change(bytes, random);
        run(toHex(bytes), bytes);
    }
    return 0;
}
