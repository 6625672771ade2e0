// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/devices/mctp_device.hpp"

#include <sys/types.h>

#include <string>
#include <vector>

namespace sim
{

/** A device that is a program of its own, on its standard input and output.
 *
 *  A message is its length, four bytes little endian, then its bytes. Each one
 *  written to it is answered by one; length 0xffffffff says that the device
 *  does not answer. spdm/spdm_device.cpp is such a program; one around another
 *  implementation of SPDM is another.
 *
 *  The simulation stands still while it answers. A program that ends or breaks
 *  off, writes an overlong message or takes longer than the requester waits is
 *  a device that has died: nothing answers any more. */
class DeviceProgram : public MctpDevice
{
  public:
    /** Starts it; the first word is its file. Throws std::system_error. */
    explicit DeviceProgram(const std::vector<std::string>& words);
    ~DeviceProgram() override;

    Answer answer(const spdm::Bytes& request,
                  std::chrono::milliseconds patience) override;

  private:
    void end();

    pid_t process{-1};
    int stream{-1}; //!< both ways; -1 when the device has died
};

} // namespace sim
