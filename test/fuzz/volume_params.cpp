#include "tool/storage/volume_params.hpp"

#include "target.hpp"

using nlohmann::json;

/** The `-p` text of create and edit. */
void fuzz::target(Input input)
{
    Options options;
    options.operation = "create";
    options.params = textOf(input);
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
