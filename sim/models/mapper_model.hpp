// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/mapper.hpp"
#include "sim/models/model.hpp"

namespace sim
{

/** "mapper": the object mapper, computed at each call over what the services
 *  that are alive hold at that moment. No settings. */
class MapperModel : public Model
{
  public:
    MapperModel(Bus& bus, Service& service, const Node& config);

  private:
    Holdings holdings() const;
    Reply getObject(const Call& call) const;
    Reply getSubTree(const Call& call) const;
    Reply getSubTreePaths(const Call& call) const;
};

} // namespace sim
