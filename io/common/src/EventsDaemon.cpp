#include "io/common/src/EventsDaemon.hpp"

bool io::events::commit(const DbusConnPtr& bus, const std::string& messageId,
                        const Arguments& arguments)
{
    sdbusplus::message_t reply = bus::callMethod(
        bus, "com.mervax.eventlogd", "/com/mervax/eventlogd/event",
        "com.mervax.eventlogd.event", "swlogCommit", messageId, arguments);
    return !reply.is_method_error();
}
