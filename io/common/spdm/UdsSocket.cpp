// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/UdsSocket.hpp"

#include "io/common/src/File.hpp"
#include "io/common/src/Text.hpp"

#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <phosphor-logging/lg2.hpp>

#include <cstring>

namespace mctp::spdm
{

namespace
{

constexpr uint64_t microsecondsPerSecond = 1000000;

/** As much of the executable's path as counts for the socket's name. */
constexpr std::size_t longestExecutable = 1023;

// struct sockaddr is what the socket calls take every kind of address as.
const sockaddr* genericAddress(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

/** Wait until the descriptor can be read: select(2)'s result. */
int waitReadable(int fd, uint64_t timeout)
{
    // A set has no place for any other descriptor.
    if (fd < 0 || fd >= FD_SETSIZE)
    {
        return -1;
    }
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    timeval time{};
    time.tv_sec = static_cast<time_t>(timeout / microsecondsPerSecond);
    time.tv_usec = static_cast<suseconds_t>(timeout % microsecondsPerSecond);
    return select(fd + 1, &readable, nullptr, nullptr, &time);
}

} // namespace

UdsSocket::~UdsSocket()
{
    uninit();
}

std::string UdsSocket::pathFor(std::string_view executable)
{
    const std::string path = io::text::cat(
        {"/run/", executable.substr(executable.rfind('/') + 1), "SpdmSocket"});
    return path.substr(0, sizeof(sockaddr_un::sun_path) - 1);
}

bool UdsSocket::bindToPath() const
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    const sockaddr* const self = genericAddress(address);
    // When this fails there is either nothing there or something that makes
    // the bind fail too, which then tells.
    unlink(path.c_str());
    // The file gets the socket's mode: nobody else may send into it.
    return fchmod(fd.number(), S_IRUSR | S_IWUSR) == 0 &&
           bind(fd.number(), self, sizeof(address)) == 0 &&
           connect(fd.number(), self, sizeof(address)) == 0;
}

bool UdsSocket::openAtPath()
{
    path = pathFor(io::executablePath().substr(0, longestExecutable));
    if (!users.enter(path))
    {
        return false;
    }
    if (!bindToPath() || !users.stay())
    {
        users.leave();
        return false;
    }
    return true;
}

int UdsSocket::init()
{
    if (fd.isOpen())
    {
        return 0;
    }
    fd = io::Descriptor(socket(AF_UNIX, SOCK_DGRAM, 0));
    if (!fd.isOpen())
    {
        lg2::error("[ERR] Failed to open UDS socket for SPDM");
        return -1;
    }
    if (!openAtPath())
    {
        lg2::error("[ERR] Failed to bind UDS socket for SPDM");
        fd = io::Descriptor();
        return -1;
    }
    return 0;
}

void UdsSocket::uninit()
{
    if (!fd.isOpen())
    {
        return;
    }
    fd = io::Descriptor();
    if (users.takeTurn() && users.isAlone() && unlink(path.c_str()) != 0)
    {
        lg2::error("[ERR] Failed to unlink {P}", "P", path);
    }
    users.leave();
}

bool UdsSocket::hasFile() const
{
    // A run that takes another's place leaves none there for a moment.
    users.takeTurn();
    const bool found = access(path.c_str(), F_OK) == 0;
    users.endTurn();
    return found;
}

ssize_t UdsSocket::sendToSelf(std::span<const uint8_t> bytes) const
{
    return hasFile() ? send(fd.number(), bytes.data(), bytes.size(), 0) : -1;
}

ssize_t UdsSocket::receive(void* buffer, std::size_t length,
                           uint64_t timeout) const
{
    const int ready = waitReadable(fd.number(), timeout);
    if (ready == -1)
    {
        lg2::error("[ERR] select failed");
        return -1;
    }
    if (ready == 0)
    {
        lg2::error("[ERR] Timeout occurred. No data received");
    }
    const ssize_t received =
        ready == 0 ? 0 : recv(fd.number(), buffer, length, 0);
    if (received < 0)
    {
        lg2::error("[ERR] recv failed");
        return received;
    }
    // The library reads on behind a short message, in a buffer that may hold
    // the one before.
    std::memset(static_cast<uint8_t*>(buffer) + received, 0,
                length - static_cast<std::size_t>(received));
    return received;
}

} // namespace mctp::spdm
