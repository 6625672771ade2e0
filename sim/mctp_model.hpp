#pragma once

#include "model.hpp"

namespace sim
{

/** "mctp": an MCTP daemon. Settings:
 *
 *  - "endpoints": an array of {"eid", "address"}; "second" (8 bits) and "third"
 *    (16 bits) fill the two fields between them and default to 0. */
class MctpModel : public Model
{
  public:
    MctpModel(World& world, Service& service, const Node& config);

  private:
    Json routingTable = Json::array();
};

} // namespace sim
