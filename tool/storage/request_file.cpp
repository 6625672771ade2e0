// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/request_file.hpp"

#include "io/common/src/JsonText.hpp"
#include "tool/output.hpp"

#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>

using nlohmann::json;

namespace tool
{

namespace
{

/** No bus message is longer (D-Bus specification), bytes. */
constexpr std::size_t maxFileSize = 128UL << 20;

using File = std::unique_ptr<std::FILE, decltype(&std::fclose)>;

/** All that can be read; reading a directory yields nothing. */
std::string readAll(std::FILE* file)
{
    std::string text;
    std::array<char, 4096> chunk{};
    while (std::feof(file) == 0 && std::ferror(file) == 0)
    {
        text.append(chunk.data(),
                    std::fread(chunk.data(), 1, chunk.size(), file));
        if (text.size() > maxFileSize)
        {
            throw std::length_error("Input file is longer than a bus message");
        }
    }
    return text;
}

} // namespace

bool readRequestFile(const std::string& name, json& document)
{
    const File file(std::fopen(name.c_str(), "re"), std::fclose);
    if (file == nullptr)
    {
        out::errorLine({"Failed to open in file: ", name});
        return false;
    }
    json parsed = io::tryParseJson(readAll(file.get()));
    if (parsed.is_discarded())
    {
        out::errorLine({"in file is invalid JSON: ", name});
        return false;
    }
    document = std::move(parsed);
    return true;
}

} // namespace tool
