// SPDX-License-Identifier: Apache-2.0
#include "tool/attest/attest.hpp"

#include "io/common/src/Text.hpp"
#include "tool/attest/module.hpp"
#include "tool/output.hpp"

namespace
{

/** Print what the module has to say; an end of line at its end is its own. */
void print(std::string_view text) noexcept
{
    const bool ends = text.ends_with('\n');
    tool::out::foreign(text.substr(0, text.size() - (ends ? 1 : 0)));
    tool::out::write(ends ? "\n" : "");
}

} // namespace

bool tool::attestDevice(const DbusConnPtr& bus, const Options& options)
{
    out::line({"Attest Device: 0x", io::text::hex(options.address)});
    const attest::Entry entry = attest::loadModule();
    out::flush();
    return entry(bus, options.address, options.file, print);
}
