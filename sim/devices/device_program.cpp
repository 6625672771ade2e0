// SPDX-License-Identifier: Apache-2.0
#include "sim/devices/device_program.hpp"

#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace sim
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr uint32_t noAnswer = 0xffffffff;
constexpr uint32_t longestMessage = 1U << 20;

[[noreturn]] void fail(int error, const std::string& what)
{
    throw std::system_error(error, std::generic_category(), what);
}

std::array<uint8_t, 4> prefixOf(uint32_t size)
{
    return {static_cast<uint8_t>(size), static_cast<uint8_t>(size >> 8),
            static_cast<uint8_t>(size >> 16), static_cast<uint8_t>(size >> 24)};
}

bool sendAll(int stream, const uint8_t* from, size_t size)
{
    while (size > 0)
    {
        // A program that is gone is no reason for a signal.
        const ssize_t sent = send(stream, from, size, MSG_NOSIGNAL);
        if (sent <= 0)
        {
            return false;
        }
        from += sent;
        size -= static_cast<size_t>(sent);
    }
    return true;
}

bool readableBefore(int stream, Clock::time_point deadline)
{
    using std::chrono::ceil;
    using std::chrono::milliseconds;
    const auto left = ceil<milliseconds>(deadline - Clock::now()).count();
    pollfd waited{stream, POLLIN, 0};
    return poll(&waited, 1, static_cast<int>(std::max<int64_t>(left, 0))) == 1;
}

bool receiveAll(int stream, uint8_t* into, size_t size,
                Clock::time_point deadline)
{
    while (size > 0)
    {
        const ssize_t got =
            readableBefore(stream, deadline) ? recv(stream, into, size, 0) : -1;
        if (got <= 0)
        {
            return false;
        }
        into += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

/** Puts the next message there, or says that none came. */
bool receiveMessage(int stream, std::optional<spdm::Bytes>& message,
                    Clock::time_point deadline)
{
    std::array<uint8_t, 4> prefix{};
    if (!receiveAll(stream, prefix.data(), prefix.size(), deadline))
    {
        return false;
    }
    const uint32_t size = prefix[0] | uint32_t{prefix[1]} << 8 |
                          uint32_t{prefix[2]} << 16 | uint32_t{prefix[3]} << 24;
    if (size == noAnswer)
    {
        return true;
    }
    if (size > longestMessage)
    {
        return false;
    }
    message.emplace(size);
    return receiveAll(stream, message->data(), size, deadline);
}

pid_t spawn(const std::vector<std::string>& words, int stream)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
    {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, stream, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, stream, STDOUT_FILENO);
    pid_t process = -1;
    const int error = posix_spawn(&process, arguments.front(), &actions,
                                  nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : (errno = error, -1);
}

} // namespace

DeviceProgram::DeviceProgram(const std::vector<std::string>& words)
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
    {
        fail(errno, words.front());
    }
    process = spawn(words, ends[1]);
    const int error = errno;
    close(ends[1]);
    stream = ends[0];
    if (process < 0)
    {
        close(stream);
        fail(error, words.front());
    }
}

DeviceProgram::~DeviceProgram()
{
    end();
}

void DeviceProgram::end()
{
    if (stream < 0)
    {
        return;
    }
    close(stream);
    stream = -1;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

MctpDevice::Answer DeviceProgram::answer(const spdm::Bytes& request,
                                         std::chrono::milliseconds patience)
{
    Answer answer;
    if (stream < 0)
    {
        return answer;
    }
    const Clock::time_point deadline = Clock::now() + patience;
    const auto prefix = prefixOf(static_cast<uint32_t>(request.size()));
    if (!sendAll(stream, prefix.data(), prefix.size()) ||
        !sendAll(stream, request.data(), request.size()) ||
        !receiveMessage(stream, answer.message, deadline))
    {
        answer.message.reset();
        end();
    }
    return answer;
}

} // namespace sim
