// SPDX-License-Identifier: Apache-2.0
#include <sdbusplus/exception.hpp>

#include <stdexcept>
#include <utility>

namespace sdbusplus::exception
{

SdBusError::SdBusError(int errorIn, const char* prefix) :
    SdBusError(errorIn, std::string(prefix))
{
}

SdBusError::SdBusError(int errorIn, std::string&& prefix) :
    error{}, text(std::move(prefix))
{
    // Returns the errno whether or not it could be stored, so look instead.
    sd_bus_error_set_errno(&error, errorIn);
    if (sd_bus_error_is_set(&error) == 0)
    {
        throw std::runtime_error("Failed to create SdBusError");
    }
    composeText();
}

SdBusError::SdBusError(sd_bus_error* errorIn, const char* prefix) :
    error(std::exchange(*errorIn, sd_bus_error{})), text(prefix)
{
    composeText();
}

SdBusError::SdBusError(SdBusError&& other) noexcept :
    error(std::exchange(other.error, sd_bus_error{})),
    text(std::move(other.text))
{
}

SdBusError& SdBusError::operator=(SdBusError&& other) noexcept
{
    if (this != &other)
    {
        sd_bus_error_free(&error);
        error = std::exchange(other.error, sd_bus_error{});
        text = std::move(other.text);
    }
    return *this;
}

SdBusError::~SdBusError()
{
    sd_bus_error_free(&error);
}

const char* SdBusError::name() const noexcept
{
    return error.name;
}

const char* SdBusError::description() const noexcept
{
    return error.message;
}

const char* SdBusError::what() const noexcept
{
    return text.c_str();
}

int SdBusError::get_errno() const noexcept
{
    return sd_bus_error_get_errno(&error);
}

const sd_bus_error* SdBusError::get_error() const noexcept
{
    return &error;
}

void SdBusError::composeText()
{
    for (const char* part : {error.name, error.message})
    {
        if (part != nullptr)
        {
            text.append(": ").append(part);
        }
    }
}

} // namespace sdbusplus::exception
