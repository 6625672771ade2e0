// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/model.hpp"

namespace sim
{

/** "eventlog": the event log service. No settings.
 *
 *  Every entry that is committed joins the property "Entries" (a(sa{ss}):
 *  message id and arguments), oldest first. */
class EventLogModel : public Model
{
  public:
    EventLogModel(Bus& bus, Service& service, const Node& config);

  private:
    Reply commit(const Call& call);

    Json entries = Json::array();
};

} // namespace sim
