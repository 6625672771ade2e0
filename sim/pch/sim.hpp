// SPDX-License-Identifier: Apache-2.0
// What nearly every source of the simulator reads, compiled once.

#include <systemd/sd-bus.h>

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>
