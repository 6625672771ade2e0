// SPDX-License-Identifier: Apache-2.0
#include "sim/models/eventlog_model.hpp"

#include "sim/bus/service.hpp"

namespace sim
{

namespace
{

constexpr const char* eventInterface = "com.mervax.eventlogd.event";

} // namespace

EventLogModel::EventLogModel(Bus& busIn, Service& serviceIn,
                             const Node& config) :
    Model(busIn, serviceIn, config)
{
    config.allowOnly({"model", "path"});
    method(eventInterface, "swlogCommit", "sa{ss}",
           [this](const Call& call) { return commit(call); });
    service().tree().setProperty(path(), eventInterface, "Entries", "a(sa{ss})",
                                 entries);
}

Reply EventLogModel::commit(const Call& call)
{
    entries.push_back(call.args);
    service().tree().setProperty(path(), eventInterface, "Entries", "a(sa{ss})",
                                 entries);
    return Reply::of("", Json::array());
}

} // namespace sim
