// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Bus.hpp"
#include "tool/dispatch.hpp"
#include "tool/guard.hpp"
#include "tool/options.hpp"
#include "tool/output.hpp"

#include <chrono>

namespace
{

bool run(int argc, char* argv[])
{
    tool::Options options;
    if (argc > 1 && !tool::parseOptions(argc, argv, options))
    {
        tool::out::write(tool::usageText);
        tool::out::write("\n");
        return true;
    }
    if (const char* word =
            argc > 1 ? tool::unexpectedArgument(argc, argv) : nullptr)
    {
        // Most likely a forgotten -o: the default would be a listing.
        tool::out::line({"Unexpected argument: ", word});
        return false;
    }
    const DbusConnPtr bus = io::bus::connect();
    options.startTime = std::chrono::system_clock::now();
    return tool::dispatch(bus, options);
}

} // namespace

int main(int argc, char* argv[])
{
    tool::out::guardStandardStreams();
    io::bus::beforeWaiting = tool::out::flush;
    const bool done =
        tool::guarded("Exception: ", [&] { return run(argc, argv); });
    return tool::out::finish(done ? 0 : 255);
}
