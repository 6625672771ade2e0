// SPDX-License-Identifier: Apache-2.0
#include "journal.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr const char* socketPath = "/run/systemd/journal/socket";

void mustWork(bool worked, const char* step)
{
    if (!worked)
    {
        std::perror(step);
        std::exit(EXIT_FAILURE);
    }
}

void writeFile(const char* path, const std::string& text)
{
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    mustWork(fd >= 0 && write(fd, text.data(), text.size()) ==
                            static_cast<ssize_t>(text.size()),
             path);
    close(fd);
}

/** For users who may mount only where they are root. */
void enterUserNamespace()
{
    const std::string user = "0 " + std::to_string(getuid()) + " 1";
    const std::string group = "0 " + std::to_string(getgid()) + " 1";
    mustWork(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "unshare");
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", user);
    writeFile("/proc/self/gid_map", group);
}

sockaddr_un journalAddress()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath, sizeof(address.sun_path) - 1);
    return address;
}

/** A field of the journal's native protocol: "NAME=value\n", or for values
 *  with line breaks "NAME\n", the length in 64 bits, little end first, value
 *  and "\n". */
std::pair<std::string, std::string> takeField(std::string& data)
{
    const auto end = data.find_first_of("=\n");
    std::string name = data.substr(0, end);
    std::size_t start = end + 1;
    std::size_t length = data.find('\n', start) - start;
    if (data[end] == '\n')
    {
        uint64_t size = 0;
        std::memcpy(&size, data.data() + start, sizeof(size));
        start += sizeof(size);
        length = size;
    }
    std::string value = data.substr(start, length);
    data.erase(0, start + length + 1);
    return {std::move(name), std::move(value)};
}

} // namespace

void enterPrivateRun()
{
    if (geteuid() != 0)
    {
        enterUserNamespace();
    }
    else
    {
        mustWork(unshare(CLONE_NEWNS) == 0, "unshare");
    }
    mustWork(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0,
             "mount /");
    mustWork(mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0, "mount /run");
    mustWork(mkdir("/run/systemd", 0755) == 0, "mkdir");
    mustWork(mkdir("/run/systemd/journal", 0755) == 0, "mkdir");
}

Journal::Journal() :
    socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    mustWork(socket >= 0, "socket");
    const auto address = journalAddress();
    mustWork(bind(socket, reinterpret_cast<const sockaddr*>(&address),
                  sizeof(address)) == 0,
             "bind");
}

Journal::~Journal()
{
    close(socket);
    unlink(socketPath);
}

Fields Journal::take()
{
    std::array<char, 65536> buffer{};
    const auto size = recv(socket, buffer.data(), buffer.size(), 0);
    std::string data(buffer.data(), size > 0 ? static_cast<size_t>(size) : 0);
    Fields record;
    while (!data.empty())
    {
        record.push_back(takeField(data));
    }
    return record;
}

std::string valueOf(const Fields& record, const std::string& name)
{
    std::string value;
    int count = 0;
    for (const auto& field : record)
    {
        if (field.first == name)
        {
            value = field.second;
            ++count;
        }
    }
    EXPECT_EQ(count, 1) << name;
    return value;
}
