// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/raid_array.hpp"
#include "sim/models/storage_model.hpp"

#include <chrono>
#include <map>
#include <string>

namespace sim
{

/** "raid": a storage model whose volumes can be changed.
 *
 *  The signal carries "Volumes" and the controller's volumes. Each method
 *  returns one of the numbers of Outcome; an unknown address is a bad request.
 */
class RaidModel : public StorageModel
{
  public:
    RaidModel(Bus& bus, Service& service, const Node& config);

  private:
    using Step = Outcome (*)(RaidArray&, const Call&);

    /** A method that changes a controller's volumes; its first argument is
     *  the controller's address. */
    void change(const char* interface, const char* member, const char* in,
                Step step);
    /** One that does not. */
    void action(const char* member, Step step);
    Outcome run(const Call& call, Step step);
    Reply changed(const Call& call) const;

    std::map<uint32_t, RaidArray> arrays;
    std::chrono::milliseconds delay;
    bool beforeReply;
};

} // namespace sim
