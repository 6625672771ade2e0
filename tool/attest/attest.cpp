#include "tool/attest/attest.hpp"

#include "io/common/src/Text.hpp"
#include "tool/attest/module.hpp"
#include "tool/output.hpp"

bool tool::attestDevice(const DbusConnPtr& bus, const Options& options)
{
    out::line({"Attest Device: 0x", io::text::hex(options.address)});
    const attest::Entry entry = attest::loadModule();
    out::flush();
    return entry(bus, options.address, options.file, out::write);
}
