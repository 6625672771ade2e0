// SPDX-License-Identifier: Apache-2.0
#include "tool/pcie/show_device.hpp"

#include "io/common/src/Text.hpp"
#include "tool/guard.hpp"
#include "tool/json/fetch.hpp"
#include "tool/json/print.hpp"
#include "tool/output.hpp"
#include "tool/pcie/list_devices.hpp"

namespace tool
{

bool showDeviceInfo(const DbusConnPtr& bus, const Options& options)
{
    const std::string address = io::text::hex(options.address);
    const auto show = [&]
    {
        const io::bus::Service service(options.service);
        const auto document =
            fetchDocument(bus, service.at(pcieInterface), "GetPCIeDevice", {},
                          options.address);
        if (!document)
        {
            out::line({"Failed to get device 0x", address, " from ",
                       options.service});
            return false;
        }
        printJson(*document, 0);
        return true;
    };
    return guarded(io::text::cat({"showDeviceInfo: ", options.service,
                                  ", device 0x", address, "; exception: "}),
                   show);
}

} // namespace tool
