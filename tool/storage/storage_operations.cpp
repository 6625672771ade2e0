#include "tool/json/print.hpp"
#include "tool/operations.hpp"
#include "tool/storage/change_volume.hpp"
#include "tool/storage/drive_action.hpp"
#include "tool/storage/remove.hpp"
#include "tool/storage/request_file.hpp"
#include "tool/storage/tty_log.hpp"
#include "tool/storage/volume_params.hpp"

using nlohmann::json;

namespace
{

/** Several volumes travel under one key. */
void wrapArray(json& request)
{
    if (request.is_array())
    {
        json volumes = std::move(request);
        request = json::object();
        request["Volumes"] = std::move(volumes);
    }
}

} // namespace

namespace operation
{

bool createOrEdit(const DbusConnPtr& bus, Options& options)
{
    json request;
    const bool produced = options.params.empty()
                            ? readRequestFile(options.file, request)
                            : parseVolumeParams(options, request);
    if (!produced)
    {
        return false;
    }
    wrapArray(request);
    printJson(request, 0);
    return createOrEditVolume(bus, options, request);
}

bool deleteVolume(const DbusConnPtr& bus, Options& options)
{
    return ::deleteVolume(bus, options);
}

bool clear(const DbusConnPtr& bus, Options& options)
{
    return clearConfig(bus, options);
}

bool driveAction(const DbusConnPtr& bus, Options& options)
{
    return ::driveAction(bus, options);
}

bool ttyLog(const DbusConnPtr& bus, Options& options)
{
    return getTTYlog(bus, options);
}

} // namespace operation
