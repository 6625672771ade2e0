// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/File.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace io
{

namespace
{

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

void require(bool done, const char* what)
{
    if (!done)
    {
        fail(what);
    }
}

struct stat regularStatus(const Descriptor& file)
{
    struct stat status = {};
    require(fstat(file.number(), &status) == 0, "fstat");
    if (!S_ISREG(status.st_mode))
    {
        throw std::runtime_error("not a regular file");
    }
    return status;
}

void writeAll(const Descriptor& file, std::string_view text)
{
    while (!text.empty())
    {
        const ssize_t written =
            ::write(file.number(), text.data(), text.size());
        require(written >= 0 || errno == EINTR, "write");
        text.remove_prefix(
            static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    // The storage reports late what it could not keep.
    require(fsync(file.number()) == 0, "fsync");
}

std::string folderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/') + 1);
}

/** Bring a rename to the storage, where the file system can. */
void syncFolder(const std::string& path)
{
    const std::string folder = folderOf(path);
    const Descriptor opened(open(folder.empty() ? "." : folder.c_str(),
                                 O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    require(opened.isOpen(), "open");
    require(fsync(opened.number()) == 0 || errno == EINVAL, "fsync");
}

/** Where a name leads to, also when nothing is there. What leads nowhere for
 *  ever is left for open() to refuse. */
std::string behindLinks(const std::string& name)
{
    std::string path = name;
    for (int links = 0; links < 40; ++links)
    {
        char text[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), text, sizeof(text));
        if (length < 0)
        {
            return path;
        }
        const std::string_view target(text, static_cast<std::size_t>(length));
        path = (target.starts_with('/') ? "" : folderOf(path)).append(target);
    }
    return name;
}

/** Open the file and lock it; a closed one when somebody else has it.
 *
 *  Who had the lock has given the file another name or removed it meanwhile,
 *  so that a lock only counts on what the name still stands for.
 */
Descriptor tryLock(const std::string& path)
{
    Descriptor file(open(
        path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
        S_IRUSR | S_IWUSR));
    require(file.isOpen(), "open");
    const bool locked = flock(file.number(), LOCK_EX | LOCK_NB) == 0;
    require(locked || errno == EWOULDBLOCK || errno == EINTR, "flock");
    return locked && isNamed(file, path) ? std::move(file) : Descriptor();
}

Descriptor lockedFile(const std::string& path,
                      std::chrono::milliseconds longest)
{
    constexpr std::chrono::milliseconds pause(1);
    const Clock::time_point end = Clock::now() + longest;
    for (;;)
    {
        Descriptor file = tryLock(path);
        if (file.isOpen())
        {
            return file;
        }
        if (Clock::now() >= end)
        {
            errno = ETIMEDOUT;
            fail("flock");
        }
        std::this_thread::sleep_for(pause);
    }
}

/** Give a new file the owner and the mode of the one that it replaces. */
void resemble(const Descriptor& file, const std::string& path)
{
    // For writing, so that a file that refuses it is not replaced either.
    const Descriptor old(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    require(old.isOpen() || errno == ENOENT, "open");
    mode_t mode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    if (old.isOpen())
    {
        const struct stat status = regularStatus(old);
        mode = status.st_mode & 07777;
        require(fchown(file.number(), status.st_uid, status.st_gid) == 0,
                "fchown");
    }
    require(fchmod(file.number(), mode) == 0, "fchmod");
}

} // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept :
    fd(std::exchange(other.fd, -1))
{
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    std::swap(fd, other.fd);
    return *this;
}

Descriptor::~Descriptor()
{
    if (fd >= 0)
    {
        ::close(fd);
    }
}

bool isNamed(const Descriptor& file, const std::string& path)
{
    struct stat opened = {};
    struct stat named = {};
    require(fstat(file.number(), &opened) == 0, "fstat");
    return stat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

std::string readAll(const Descriptor& file, std::size_t longest)
{
    regularStatus(file);
    std::string text;
    char piece[4096];
    ssize_t got = 0;
    while ((got = read(file.number(), piece, sizeof(piece))) > 0)
    {
        text.append(piece, static_cast<std::size_t>(got));
        if (text.size() > longest)
        {
            throw std::length_error("larger than " +
                                    std::to_string(longest >> 20) + " MiB");
        }
    }
    require(got == 0, "read");
    return text;
}

void replaceFile(const std::string& path, std::string_view content)
{
    // mkostemp(3) opens with O_CREAT, O_EXCL and mode 0600, so the file is
    // new and no link.
    std::string fresh = path + ".XXXXXX";
    const Descriptor file(mkostemp(fresh.data(), O_CLOEXEC));
    require(file.isOpen(), "open");
    try
    {
        writeAll(file, content);
        require(rename(fresh.c_str(), path.c_str()) == 0, "rename");
    }
    catch (...)
    {
        unlink(fresh.c_str());
        throw;
    }
}

FileTurn::FileTurn(const std::string& path, std::chrono::milliseconds longest) :
    target(behindLinks(path)),
    beside(target + ".new"),
    file(lockedFile(beside, longest))
{
}

FileTurn::~FileTurn()
{
    if (!renamed)
    {
        unlink(beside.c_str());
    }
}

void FileTurn::write(std::string_view content)
{
    require(ftruncate(file.number(), 0) == 0, "ftruncate");
    resemble(file, target);
    writeAll(file, content);
    require(rename(beside.c_str(), target.c_str()) == 0, "rename");
    renamed = true;
    syncFolder(target);
}

std::string executablePath()
{
    std::array<char, PATH_MAX> link{};
    const ssize_t length =
        readlink("/proc/self/exe", link.data(), link.size() - 1);
    return length < 0 ? std::string() : std::string(link.data());
}

} // namespace io
