// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/volume_params.hpp"

#include "target.hpp"

#include <cstdlib>

using tool::Options;
using tool::parseVolumeParams;

using nlohmann::json;

namespace
{

/** Would the volumes fill much of a bus message? Making so many takes seconds
 *  and shows nothing new; still more are refused at once. */
bool isSlow(const std::string& params)
{
    const std::string key = "Count=";
    const std::size_t at = params.find(key);
    if (at == std::string::npos)
    {
        return false;
    }
    const unsigned long count =
        std::strtoul(params.c_str() + at + key.size(), nullptr, 10);
    return count > 1'000 && count < 10'000'000;
}

} // namespace

/** The `-p` text of create and edit. */
void fuzz::target(Input input)
{
    Options options;
    options.operation = "create";
    options.params = textOf(input);
    if (isSlow(options.params))
    {
        return;
    }
    json request;
    if (!parseVolumeParams(options, request))
    {
        return;
    }
    const bool several = request.is_array() && request.size() > 1;
    require(several || request.is_object(), "one volume, or more in a list");
    require(options.operation == "create" || options.operation == "autocfg",
            "no other operation comes of it");
    require(json::parse(request.dump()) == request,
            "what is sent is what was meant");
}
