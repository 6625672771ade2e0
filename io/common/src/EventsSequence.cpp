#include "io/common/src/EventsSequence.hpp"

#include "io/common/src/JsonText.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <system_error>

using nlohmann::json;

namespace io::events
{

namespace
{

constexpr std::size_t maxFileSize = std::size_t{1} << 20;
constexpr std::size_t maxDepth = 64;

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/** A descriptor that is closed at the latest when this goes. */
class File
{
  public:
    File(const std::string& path, int flags) :
        fd(open(path.c_str(), flags | O_CLOEXEC, 0644))
    {
    }

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    ~File()
    {
        if (fd >= 0)
        {
            ::close(fd);
        }
    }

    bool isOpen() const
    {
        return fd >= 0;
    }

    void requireRegular() const
    {
        struct stat status = {};
        if (fstat(fd, &status) != 0)
        {
            fail("fstat");
        }
        if (!S_ISREG(status.st_mode))
        {
            throw std::runtime_error("not a regular file");
        }
    }

    std::string readAll() const
    {
        std::string text;
        char piece[4096];
        ssize_t got = 0;
        while ((got = read(fd, piece, sizeof(piece))) > 0)
        {
            text.append(piece, static_cast<std::size_t>(got));
            if (text.size() > maxFileSize)
            {
                throw std::length_error("larger than 1 MiB");
            }
        }
        if (got < 0)
        {
            fail("read");
        }
        return text;
    }

    void writeAll(std::string_view text) const
    {
        while (!text.empty())
        {
            const ssize_t written = ::write(fd, text.data(), text.size());
            if (written < 0)
            {
                fail("write");
            }
            text.remove_prefix(static_cast<std::size_t>(written));
        }
    }

    /** The storage reports late what it could not keep. */
    void finish()
    {
        if (fsync(fd) != 0)
        {
            fail("fsync");
        }
        const int closing = std::exchange(fd, -1);
        if (::close(closing) != 0)
        {
            fail("close");
        }
    }

  private:
    int fd;
};

} // namespace

json loadSequences(const std::string& path)
{
    // Opening must not wait for the writer of a pipe that took the name.
    const File file(path, O_RDONLY | O_NONBLOCK);
    if (!file.isOpen())
    {
        if (errno == ENOENT || errno == ENOTDIR)
        {
            return nullptr;
        }
        fail("open");
    }
    file.requireRegular();
    return parseJson(file.readAll(), maxDepth);
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

void storeSequences(const std::string& path, const json& document)
{
    const std::string text = document.dump();
    File file(path, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK);
    if (!file.isOpen())
    {
        fail("open");
    }
    file.requireRegular();
    file.writeAll(text);
    file.finish();
}

} // namespace io::events
