// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call.hpp"
#include "sim/bus/reply.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sim
{

/** A method for one argument signature. */
struct Method
{
    std::string in;
    Handler handler;
};

struct Property
{
    std::string signature;
    Json value;
    /** Answers "Get" in place of the value; "GetAll" then leaves it out. */
    std::optional<ReplyScript> script;
};

struct Interface
{
    std::map<std::string, Property> properties;
    /** Name to its overloads; the first that takes the arguments answers. */
    std::map<std::string, std::vector<Method>> methods;
};

using Object = std::map<std::string, Interface>;

/** What one service has: objects by path. */
class ObjectTree
{
  public:
    /** Reads the "objects" of a service. Throws ScenarioError. */
    void read(const Node& objects);

    /** Adds an overload behind those that are there: what a scenario declares
     *  wins over what a model brings. */
    void addMethod(const std::string& path, const std::string& interface,
                   const std::string& member, Method method);
    void setProperty(const std::string& path, const std::string& interface,
                     const std::string& name, std::string signature,
                     Json value);

    /** Whether a call has arguments that its method takes; true for a method
     *  that is not here. */
    bool takes(const Call& call) const;

    /** The answer to a call; errors are those of a real service. */
    Reply answer(const Call& call) const;

    const std::map<std::string, Object>& all() const
    {
        return objects;
    }

  private:
    std::map<std::string, Object> objects;
};

} // namespace sim
