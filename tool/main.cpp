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
            io::out::write(usageText);
            io::out::line({});
            return io::out::finish(0);
        }
        if (const char* word =
                argc > 1 ? unexpectedArgument(argc, argv) : nullptr)
        {
            // Most likely a forgotten -o: the default would be a listing.
            io::out::line({"Unexpected argument: ", word});
            return io::out::finish(255);
        }
        done = run(options);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"Exception: ", failure.what()});
    }
    return io::out::finish(done ? 0 : 255);
}
