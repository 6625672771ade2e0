// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsSequence.hpp"

#include "io/common/src/File.hpp"
#include "io/common/src/JsonText.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstddef>
#include <limits>
#include <system_error>

using nlohmann::json;

namespace io::events
{

namespace
{

constexpr std::size_t maxFileSize = std::size_t{1} << 20;
constexpr std::size_t maxDepth = 64;

} // namespace

json loadSequences(const std::string& path)
{
    // Opening must not wait for the writer of a pipe that took the name.
    const Descriptor file(
        open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (file.isOpen())
    {
        return parseJson(readAll(file, maxFileSize), maxDepth);
    }
    if (errno == ENOENT || errno == ENOTDIR)
    {
        return nullptr;
    }
    throw std::system_error(errno, std::generic_category(), "open");
}

uint64_t takeSequence(json& document, const std::string& name)
{
    if (!document.is_object() && !document.is_null())
    {
        document = json::object();
    }
    json& last = document[name];
    const uint64_t used = last.is_number_unsigned() ? last.get<uint64_t>() : 0;
    // There is no number behind the largest one: the class starts over.
    const bool exhausted = used == std::numeric_limits<uint64_t>::max();
    const uint64_t next = exhausted ? 1 : used + 1;
    last = next;
    return next;
}

} // namespace io::events
