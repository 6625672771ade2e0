// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <filesystem>
#include <vector>

namespace sim
{

/** The I2C buses as the kernel shows them: a file with the adapter's name for
 *  each bus below /sys/bus/i2c/devices. They go when this goes.
 *
 *  The simulator's /sys/bus is a private one; the kernel's refuses them. */
class Adapters
{
  public:
    Adapters() = default;
    /** From an object: bus number to the adapter's name, or to
     *  {"content": whole text of the file}. Throws ScenarioError and
     *  std::filesystem::filesystem_error. */
    explicit Adapters(const Node& buses);
    ~Adapters();
    Adapters(const Adapters&) = delete;
    Adapters& operator=(const Adapters&) = delete;
    Adapters(Adapters&&) = default;
    Adapters& operator=(Adapters&& other) noexcept;

  private:
    void remove() noexcept;
    void add(const std::string& number, const std::string& content);

    std::vector<std::filesystem::path> made;
};

} // namespace sim
