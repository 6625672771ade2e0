// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/call_log.hpp"

#include "sim/bus/bus_error.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace sim
{

CallLog::CallLog(const std::string& file) :
    descriptor(
        open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644))
{
    check(descriptor < 0 ? -errno : 0, file.c_str());
}

CallLog::~CallLog()
{
    close(descriptor);
}

void CallLog::write(const Call& call)
{
    Json line{{"destination", call.destination}, {"path", call.path},
              {"interface", call.interface},     {"member", call.member},
              {"signature", call.signature},     {"args", call.args}};
    std::string text = line.dump() + "\n";
    size_t written = 0;
    while (written < text.size())
    {
        ssize_t count =
            ::write(descriptor, text.data() + written, text.size() - written);
        check(count < 0 ? -errno : 0, "call log");
        written += static_cast<size_t>(count);
    }
}

} // namespace sim
