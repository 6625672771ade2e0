// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/I2CBus.hpp"
#include "io/common/src/MctpI2CBus.hpp"
#include "target.hpp"

/** An adapter's name in sysfs, and the same text as a daemon's device path. */
void fuzz::target(Input input)
{
    Reader reader(input);
    const uint8_t bus = reader.byte();
    const std::string name = textOf(reader.rest());
    const auto served = io::MctpI2CBus::busOfPath(name);
    require(!served || name.starts_with("/dev/i2c-"), "a path names its bus");
    const uint8_t root = io::I2CBus::rootBusByName(bus, name, "name");
    require(root == bus || name.find("mux") != std::string::npos,
            "who is no channel is a root");
    require(root == io::I2CBus::unknown || root == bus ||
                name.starts_with("i2c-"),
            "a channel names its bus");
}
