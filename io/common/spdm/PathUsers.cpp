// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/PathUsers.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace mctp::spdm
{

namespace
{

// What the bytes of the lock file stand for.
constexpr off_t turn = 0;
constexpr off_t use = 1;

/** Lock or unlock a byte: a command and a type of fcntl(2). */
bool lock(int fd, int command, int type, off_t byte)
{
    struct flock range
    {
    };

    range.l_type = static_cast<short>(type);
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    int result = 0;
    do
    {
        result = fcntl(fd, command, &range);
    } while (result == -1 && errno == EINTR);
    return result == 0;
}

/** Who left before may have removed the file that was waited for. */
bool isRemoved(int fd)
{
    struct stat status
    {
    };

    return fstat(fd, &status) == 0 && status.st_nlink == 0;
}

} // namespace

PathUsers::~PathUsers()
{
    close();
}

bool PathUsers::open()
{
    close();
    fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC,
                S_IRUSR | S_IWUSR);
    return fd != -1;
}

void PathUsers::close()
{
    if (fd != -1)
    {
        ::close(fd);
        fd = -1;
    }
}

bool PathUsers::enter(const std::string& path)
{
    file = path + ".lock";
    do
    {
        if (!open() || !takeTurn())
        {
            close();
            return false;
        }
    } while (isRemoved(fd));
    return true;
}

bool PathUsers::stay() const
{
    const bool counted = lock(fd, F_OFD_SETLK, F_RDLCK, use);
    endTurn();
    return counted;
}

bool PathUsers::takeTurn() const
{
    return lock(fd, F_OFD_SETLKW, F_WRLCK, turn);
}

void PathUsers::endTurn() const
{
    lock(fd, F_OFD_SETLK, F_UNLCK, turn);
}

bool PathUsers::isAlone() const
{
    return lock(fd, F_OFD_SETLK, F_WRLCK, use);
}

void PathUsers::leave()
{
    if (fd == -1)
    {
        return;
    }
    if (isAlone())
    {
        unlink(file.c_str());
    }
    // A copy of the descriptor in a child would keep the locks.
    lock(fd, F_OFD_SETLK, F_UNLCK, use);
    endTurn();
    close();
}

} // namespace mctp::spdm
