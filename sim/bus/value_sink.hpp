// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <cstdint>
#include <string>
#include <string_view>

struct sd_bus_message;

namespace sim
{

/** Takes the pieces of a D-Bus value in their order on the wire. */
class ValueSink
{
  public:
    virtual ~ValueSink() = default;
    /** A checked basic value: a whole number, flag or double as its 8 bytes. */
    virtual void number(char type, uint64_t bits) = 0;
    virtual void real(double value) = 0;
    virtual void text(char type, const std::string& value) = 0;
    /** kind: 'a', 'v', 'r' or 'e', as sd-bus names containers. */
    virtual void open(char kind, const std::string& contents) = 0;
    virtual void close() = 0;
};

/** Only the checks of the walk. */
class NullSink : public ValueSink
{
  public:
    void number(char, uint64_t) override
    {
    }

    void real(double) override
    {
    }

    void text(char, const std::string&) override
    {
    }

    void open(char, const std::string&) override
    {
    }

    void close() override
    {
    }
};

/** Appends to a message; throws std::system_error. */
class MessageSink : public ValueSink
{
  public:
    explicit MessageSink(sd_bus_message* messageIn) : message(messageIn)
    {
    }

    void number(char type, uint64_t bits) override;
    void real(double value) override;
    void text(char type, const std::string& value) override;
    void open(char kind, const std::string& contents) override;
    void close() override;

  private:
    sd_bus_message* message;
};

} // namespace sim
