// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/object_tree.hpp"

#include "sim/bus/standard_interfaces.hpp"
#include "sim/bus/value.hpp"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <utility>

namespace sim
{

namespace
{

Property readProperty(const Node& node)
{
    Property property;
    if (!node.has("signature"))
    {
        property.script.emplace(node);
        return property;
    }
    node.allowOnly({"signature", "value"});
    property.signature = node.at("signature").text();
    property.value = node.at("value").json();
    Json values = Json::array({property.value});
    checkValues(property.signature, Node(values, node.place() + "/value"));
    return property;
}

Method readMethod(const Node& node)
{
    ReplyScript script(node, {"in"});
    return {.in = node.text("in", ""),
            .handler = [script](const Call&) mutable { return script.next(); }};
}

std::vector<Method> readOverloads(const Node& node)
{
    std::vector<Method> overloads;
    if (node.json().is_array())
    {
        node.eachItem([&](const Node& item)
                      { overloads.push_back(readMethod(item)); });
        return overloads;
    }
    overloads.push_back(readMethod(node));
    return overloads;
}

void readInterface(const Node& node, Interface& interface)
{
    node.allowOnly({"properties", "methods"});
    if (auto properties = node.find("properties"))
    {
        properties->eachMember(
            [&](const std::string& name, const Node& item)
            { interface.properties[name] = readProperty(item); });
    }
    if (auto methods = node.find("methods"))
    {
        methods->eachMember([&](const std::string& name, const Node& item)
                            { interface.methods[name] = readOverloads(item); });
    }
}

Reply refuse(const char* error, const std::string& message)
{
    return Reply::error(std::string("org.freedesktop.DBus.Error.") + error,
                        message);
}

/** The method that a call is for. */
struct Found
{
    std::string interface;
    /** nullptr when there is none. */
    const std::vector<Method>* overloads = nullptr;
};

Found find(const Object& object, const Call& call)
{
    for (const auto& [name, interface] : object)
    {
        auto method = interface.methods.find(call.member);
        bool wanted = call.interface.empty() || call.interface == name;
        if (wanted && method != interface.methods.end())
        {
            return {name, &method->second};
        }
    }
    return {};
}

/** nullptr when none takes the arguments. */
const Method* fitting(const std::vector<Method>& overloads, const Call& call)
{
    auto found = std::find_if(overloads.begin(), overloads.end(),
                              [&](const Method& method)
                              { return method.in == call.signature; });
    return found == overloads.end() ? nullptr : &*found;
}

/** In sd-bus's words. */
Reply refuseArguments(const Found& found, const Call& call)
{
    return refuse("InvalidArgs", "Invalid arguments '" + call.signature +
                                     "' to call " + found.interface + "." +
                                     call.member + "(), expecting '" +
                                     found.overloads->front().in + "'.");
}

Reply answerMethod(const Object& object, const Call& call)
{
    if (!call.interface.empty() && !object.contains(call.interface))
    {
        return refuse("UnknownInterface",
                      "Unknown interface '" + call.interface + "'.");
    }
    Found found = find(object, call);
    if (found.overloads == nullptr)
    {
        return refuse("UnknownMethod", "Unknown method '" + call.member + "'.");
    }
    const Method* method = fitting(*found.overloads, call);
    return method == nullptr ? refuseArguments(found, call)
                             : method->handler(call);
}

} // namespace

void ObjectTree::read(const Node& node)
{
    node.eachMember(
        [&](const std::string& path, const Node& object)
        {
            if (sd_bus_object_path_is_valid(path.c_str()) <= 0)
            {
                object.fail("is not a valid object path");
            }
            Object& target = objects[path];
            object.eachMember(
                [&](const std::string& name, const Node& interface)
                {
                    if (sd_bus_interface_name_is_valid(name.c_str()) <= 0)
                    {
                        interface.fail("is not a valid interface name");
                    }
                    readInterface(interface, target[name]);
                });
        });
}

void ObjectTree::addMethod(const std::string& path,
                           const std::string& interface,
                           const std::string& member, Method method)
{
    objects[path][interface].methods[member].push_back(std::move(method));
}

void ObjectTree::setProperty(const std::string& path,
                             const std::string& interface,
                             const std::string& name, std::string signature,
                             Json value)
{
    Property& property = objects[path][interface].properties[name];
    property.signature = std::move(signature);
    property.value = std::move(value);
}

bool ObjectTree::takes(const Call& call) const
{
    auto object = objects.find(call.path);
    if (object == objects.end())
    {
        return true;
    }
    if (call.interface == propertiesInterface)
    {
        return takesProperties(call);
    }
    Found found = find(object->second, call);
    return found.overloads == nullptr ||
           fitting(*found.overloads, call) != nullptr;
}

Reply ObjectTree::answer(const Call& call) const
{
    auto object = objects.find(call.path);
    if (call.interface == introspectableInterface)
    {
        return introspect(objects, call);
    }
    if (object == objects.end())
    {
        return refuse("UnknownObject", "Unknown object '" + call.path + "'.");
    }
    if (call.interface == propertiesInterface)
    {
        return answerProperties(object->second, call);
    }
    return answerMethod(object->second, call);
}

} // namespace sim
