// SPDX-License-Identifier: Apache-2.0
#include "sim/bmc/world.hpp"
#include "sim/scenario/scenario.hpp"

#include <getopt.h>
#include <systemd/sd-daemon.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace
{

struct Arguments
{
    std::string bus;
    std::string log = "/dev/null";
    std::vector<std::string> scenarios;
};

std::optional<Arguments> parseArguments(int argc, char** argv)
{
    static const option options[] = {{"bus", required_argument, nullptr, 'b'},
                                     {"log", required_argument, nullptr, 'l'},
                                     {nullptr, 0, nullptr, 0}};
    Arguments arguments;
    int word = 0;
    while ((word = getopt_long(argc, argv, "", options, nullptr)) != -1)
    {
        if (word == '?')
        {
            return std::nullopt;
        }
        (word == 'b' ? arguments.bus : arguments.log) = optarg;
    }
    arguments.scenarios.assign(argv + optind, argv + argc);
    if (arguments.bus.empty() || arguments.scenarios.empty())
    {
        return std::nullopt;
    }
    return arguments;
}

void simulate(const Arguments& arguments)
{
    sim::Json scenario = sim::loadScenario(arguments.scenarios);
    sim::World world(arguments.bus, arguments.log);
    world.build(sim::Node(scenario, ""));
    std::puts("ready");
    std::fflush(stdout);
    sd_notify(0, "READY=1");
    world.run();
}

} // namespace

int main(int argc, char** argv)
{
    auto arguments = parseArguments(argc, argv);
    if (!arguments)
    {
        std::fputs("usage: bmcsim --bus ADDRESS [--log FILE] SCENARIO...\n",
                   stderr);
        return 2;
    }
    try
    {
        simulate(*arguments);
    }
    catch (const sim::ScenarioError& error)
    {
        std::fprintf(stderr, "bmcsim: %s\n", error.what());
        return 2;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "bmcsim: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
