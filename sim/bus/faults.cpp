// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/faults.hpp"

#include <algorithm>

namespace sim
{

namespace
{

bool fitsText(const std::string& wanted, const std::string& given)
{
    return wanted.empty() || wanted == given;
}

} // namespace

Faults::Faults(const Node& list)
{
    list.eachItem(
        [&](const Node& node)
        {
            auto args = node.find("args");
            faults.push_back(
                {.service = node.text("service", ""),
                 .path = node.text("path", ""),
                 .interface = node.text("interface", ""),
                 .member = node.text("member", ""),
                 .args = args ? args->json() : Json::array(),
                 .script = ReplyScript(node, {"service", "path", "interface",
                                              "member", "args"})});
        });
}

bool Faults::Fault::fits(const std::string& serviceName, const Call& call) const
{
    return fitsText(service, serviceName) && fitsText(path, call.path) &&
           fitsText(interface, call.interface) &&
           fitsText(member, call.member) && args.size() <= call.args.size() &&
           std::equal(args.begin(), args.end(), call.args.begin());
}

std::optional<Reply> Faults::match(const std::string& service, const Call& call)
{
    for (Fault& fault : faults)
    {
        if (!fault.fits(service, call))
        {
            continue;
        }
        const Reply& reply = fault.script.next();
        if (reply.kind != Reply::Kind::pass)
        {
            return reply;
        }
    }
    return std::nullopt;
}

} // namespace sim
