// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/PathUsers.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace mctp::spdm
{

namespace
{

// What the bytes of the lock file stand for.
constexpr off_t turn = 0;
constexpr off_t use = 1;

/** Lock or unlock a byte: a command and a type of fcntl(2). */
bool lock(const io::Descriptor& file, int command, int type, off_t byte)
{
    struct flock range = {};
    range.l_type = static_cast<short>(type);
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    return fcntl(file.number(), command, &range) == 0;
}

} // namespace

bool PathUsers::enter(const std::string& path)
{
    name = path + ".lock";
    do
    {
        file = io::Descriptor(open(name.c_str(),
                                   O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC,
                                   S_IRUSR | S_IWUSR));
        if (!takeTurn())
        {
            file = io::Descriptor();
            return false;
        }
        // Who left before may have removed the file that was waited for.
    } while (!io::isNamed(file, name));
    return true;
}

bool PathUsers::stay() const
{
    const bool counted = lock(file, F_OFD_SETLK, F_RDLCK, use);
    endTurn();
    return counted;
}

bool PathUsers::takeTurn() const
{
    return lock(file, F_OFD_SETLKW, F_WRLCK, turn);
}

void PathUsers::endTurn() const
{
    lock(file, F_OFD_SETLK, F_UNLCK, turn);
}

bool PathUsers::isAlone() const
{
    return lock(file, F_OFD_SETLK, F_WRLCK, use);
}

void PathUsers::leave()
{
    if (!file.isOpen())
    {
        return;
    }
    if (isAlone())
    {
        unlink(name.c_str());
    }
    // A copy of the descriptor in a child would keep the locks.
    lock(file, F_OFD_SETLK, F_UNLCK, use);
    endTurn();
    file = io::Descriptor();
}

} // namespace mctp::spdm
