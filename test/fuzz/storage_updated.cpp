// SPDX-License-Identifier: Apache-2.0
#include "messages.hpp"
#include "target.hpp"
#include "tool/storage/update_wait.hpp"

using tool::Options;
using tool::storageResourceUpdatedCallback;

namespace
{

constexpr uint32_t ours = 0x8c0000;

/** The first byte says what the body leaves out or mixes up. */
fuzz::Signal bodyOf(fuzz::Reader& reader, uint8_t kind)
{
    fuzz::Signal signal;
    if ((kind & 1) == 0)
    {
        signal.add((kind & 2) == 0 ? ours : reader.word());
    }
    signal.add(reader.text());
    if ((kind & 4) == 0)
    {
        signal.add(reader.text());
    }
    return signal;
}

} // namespace

/** The body of StorageResourceUpdated, as the end of a wait. */
void fuzz::target(Input input)
{
    Reader reader(input);
    const uint8_t kind = reader.byte();
    Options options;
    options.address = ours;
    options.verbose = (kind & 8) != 0;
    sdbusplus::message_t message = bodyOf(reader, kind).seal();
    try
    {
        storageResourceUpdatedCallback(options, message);
        require(printed().empty(), "a signal for others says nothing");
    }
    catch (const Exit& exit)
    {
        const bool failed = printed().find("Exception in handling signal ") !=
                            std::string::npos;
        require(exit.status == 0 || (exit.status == 255 && failed),
                "a failure is told");
        require(printed().back() == '\n', "lines are ended");
    }
}
