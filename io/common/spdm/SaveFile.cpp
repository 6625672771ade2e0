#include "io/common/spdm/SaveFile.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace mctp::spdm
{

namespace
{

bool writeAll(int fd, std::span<const uint8_t> content)
{
    while (!content.empty())
    {
        const ssize_t written = write(fd, content.data(), content.size());
        if (written < 0 && errno == EINTR)
        {
            continue;
        }
        if (written <= 0)
        {
            return false;
        }
        content = content.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

/** Write and close: some file systems report a lost write only then. */
bool fill(int fd, std::span<const uint8_t> content)
{
    const bool written = writeAll(fd, content);
    const int error = errno;
    const bool closed = close(fd) == 0;
    if (!written)
    {
        errno = error;
    }
    return written && closed;
}

} // namespace

bool saveFile(const std::string& path, std::span<const uint8_t> content)
{
    // mkostemp(3) opens with O_CREAT, O_EXCL and mode 0600, so the file is
    // new and no link.
    std::string temporary = path + ".XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd == -1)
    {
        return false;
    }
    if (fill(fd, content) && rename(temporary.c_str(), path.c_str()) == 0)
    {
        return true;
    }
    const int error = errno;
    unlink(temporary.c_str());
    errno = error;
    return false;
}

} // namespace mctp::spdm
