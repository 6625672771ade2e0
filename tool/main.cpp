#include "io/common/src/Bus.hpp"
#include "io/common/src/Output.hpp"
#include "tool/dispatch.hpp"
#include "tool/options.hpp"
#include "tool/usage.hpp"

#include <chrono>
#include <exception>

namespace
{

bool run(Options& options)
{
    const DbusConnPtr bus = io::bus::connect();
    options.startTime = std::chrono::system_clock::now();
    return dispatch(bus, options);
}

} // namespace

int main(int argc, char* argv[])
{
    io::out::guardStandardStreams();
    bool done = false;
    try
    {
        Options options;
        if (argc > 1 && !parseOptions(argc, argv, options))
        {
            io::out::line({usageText});
            return io::out::finish(0);
        }
        done = run(options);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"Exception: ", failure.what()});
    }
    return io::out::finish(done ? 0 : 255);
}
