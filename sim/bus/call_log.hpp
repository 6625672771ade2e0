// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call.hpp"

#include <string>

namespace sim
{

/** The record of all calls: one JSON object a line, written out at once, so
 *  that a reader sees a call before its caller sees the answer. */
class CallLog
{
  public:
    /** Opens the file for appending. Throws std::system_error. */
    explicit CallLog(const std::string& file);
    ~CallLog();
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;

    void write(const Call& call);

  private:
    int descriptor;
};

} // namespace sim
