// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <exception>
#include <string>

namespace sdbusplus
{
namespace exception
{

/** What every exception of this library can tell about itself in the terms of
 *  D-Bus: an error name, a text for people, and the errno closest to it. */
struct exception : public std::exception
{
    virtual const char* name() const noexcept = 0;
    virtual const char* description() const noexcept = 0;
    virtual int get_errno() const noexcept = 0;
};

/** Raised by the library itself, as opposed to by generated bindings. */
struct internal_exception : public exception
{
};

/** A function of sd-bus failed.
 *
 *  what() reads "FUNCTION: ERROR.NAME: message"; a part that the error does
 *  not have is left out with its separator. */
class SdBusError final : public internal_exception
{
  public:
    /** @param[in] error - positive errno; 0 is a std::runtime_error
     *  @param[in] prefix - the function that failed */
    SdBusError(int error, const char* prefix);
    SdBusError(int error, std::string&& prefix);
    /** Takes the error over; what it points to is empty afterwards. */
    SdBusError(sd_bus_error* error, const char* prefix);

    SdBusError(const SdBusError&) = delete;
    SdBusError& operator=(const SdBusError&) = delete;
    SdBusError(SdBusError&& other) noexcept;
    SdBusError& operator=(SdBusError&& other) noexcept;
    ~SdBusError() override;

    /** D-Bus error name; null where the error carries none. */
    const char* name() const noexcept override;
    /** Text of the error; null where it carries none. */
    const char* description() const noexcept override;
    const char* what() const noexcept override;
    /** errno that sd-bus maps the name to; EIO for names it does not know. */
    int get_errno() const noexcept override;
    const sd_bus_error* get_error() const noexcept;

  private:
    sd_bus_error error;
    std::string text;

    void composeText();
};

} // namespace exception

using exception_t = exception::exception;
using internal_exception_t = exception::internal_exception;

} // namespace sdbusplus
