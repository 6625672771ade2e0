// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>

namespace sdbusplus::exception
{

/** A function of sd-bus failed. */
class SdBusError final : public std::exception
{
  public:
    /** @param[in] error - positive errno
     *  @param[in] prefix - the function that failed */
    SdBusError(int error, const char* prefix);

    /** "FUNCTION: ERROR.NAME: message", with the D-Bus error that sd-bus maps
     *  the errno to. */
    const char* what() const noexcept override;

  private:
    std::string text;
};

} // namespace sdbusplus::exception
