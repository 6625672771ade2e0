#include "io/common/src/Output.hpp"
#include "tool/attest/module.hpp"
#include "tool/operations.hpp"

#include <exception>

bool operation::attest(const DbusConnPtr& bus, Options& options)
{
    io::out::print("Attest Device: 0x%x\n", options.address);
    try
    {
        return ::attest::loadModule()(bus, options);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"Attest Device: ", failure.what()});
        return false;
    }
}
