// SPDX-License-Identifier: Apache-2.0
#include "sim/models/tty_log_model.hpp"

#include "sim/scenario/address.hpp"

#include <fcntl.h>
#include <unistd.h>

namespace sim
{

namespace
{

/** Replaces a file, but follows no link that somebody else put there. */
bool writeFile(const std::string& name, const std::string& text)
{
    int file =
        open(name.c_str(),
             O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
    {
        return false;
    }
    bool whole = write(file, text.data(), text.size()) ==
                 static_cast<ssize_t>(text.size());
    return close(file) == 0 && whole;
}

std::string joinLines(const Node& lines)
{
    std::string text;
    lines.eachItem([&](const Node& line) { text += line.text() + "\n"; });
    return text;
}

} // namespace

TtyLogModel::TtyLogModel(Bus& busIn, Service& serviceIn, const Node& config) :
    Model(busIn, serviceIn, config)
{
    config.allowOnly({"model", "path", "adapters"});
    config.at("adapters")
        .eachItem(
            [&](const Node& node)
            {
                node.allowOnly({"address", "slot", "log"});
                adapters.push_back({.address = readAddress(node.at("address")),
                                    .slot = node.at("slot").number(),
                                    .log = joinLines(node.at("log"))});
            });
    method("com.mervax.Operation.Storage.Misc", "CaptureTTYLog", "us",
           [this](const Call& call)
           {
               return capture(call.args[0].get<uint32_t>(),
                              call.args[1].get<std::string>());
           });
}

Reply TtyLogModel::capture(uint32_t address, const std::string& folder) const
{
    int32_t written = 0;
    for (const Adapter& adapter : adapters)
    {
        if (address != 0 && address != adapter.address)
        {
            continue;
        }
        std::string name = folder + "/adapter_slot" +
                           std::to_string(adapter.slot) + "_tty.txt";
        written += writeFile(name, adapter.log) ? 1 : 0;
    }
    return Reply::one("i", written);
}

} // namespace sim
