// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/model.hpp"

#include <cstdint>
#include <map>
#include <vector>

namespace sim
{

/** "storage": the storage a service looks after.
 *
 *  Each listing comes as one document with one member named after what was
 *  asked for. Address 0 asks for all controllers at once; an address that is
 *  none of the controllers' gets an empty document. */
class StorageModel : public Model
{
  public:
    /** extra: settings that a model built on this one reads. */
    StorageModel(Bus& bus, Service& service, const Node& config,
                 const std::vector<const char*>& extra = {});

  protected:
    /** The document that answers a listing: all controllers for address 0. */
    Json listing(const std::string& member, uint32_t address) const;

    std::map<uint32_t, Json> controllers;

  private:
    void addListing(const std::string& name, const std::string& member,
                    const std::string& in);
};

} // namespace sim
