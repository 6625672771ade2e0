// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/standard_interfaces.hpp"

#include "sim/bus/value.hpp"

#include <set>
#include <string_view>

namespace sim
{

namespace
{

Reply refuse(const char* error, const std::string& message)
{
    return Reply::error(std::string("org.freedesktop.DBus.Error.") + error,
                        message);
}

Json variantOf(const Property& property)
{
    return Json{{"signature", property.signature}, {"value", property.value}};
}

Reply getAll(const Interface& interface)
{
    Json values = Json::object();
    for (const auto& [name, property] : interface.properties)
    {
        if (!property.script)
        {
            values[name] = variantOf(property);
        }
    }
    return Reply::one("a{sv}", std::move(values));
}

Reply get(const Interface& interface, const std::string& name)
{
    auto found = interface.properties.find(name);
    if (found == interface.properties.end())
    {
        return refuse("UnknownProperty", "Unknown property '" + name + "'.");
    }
    const Property& property = found->second;
    if (property.script)
    {
        return ReplyScript(*property.script).next();
    }
    return Reply::one("v", variantOf(property));
}

std::string argumentXml(std::string_view signature)
{
    std::string xml;
    while (!signature.empty())
    {
        xml += "   <arg type=\"" + std::string(takeType(signature)) +
               "\" direction=\"in\"/>\n";
    }
    return xml;
}

std::string interfaceXml(const std::string& name, const Interface& interface)
{
    std::string xml = " <interface name=\"" + name + "\">\n";
    for (const auto& [member, overloads] : interface.methods)
    {
        xml.append("  <method name=\"").append(member).append("\">\n");
        xml += argumentXml(overloads.front().in);
        xml += "  </method>\n";
    }
    for (const auto& [member, property] : interface.properties)
    {
        const std::string& type = property.signature;
        xml.append("  <property name=\"").append(member);
        xml.append("\" type=\"").append(type.empty() ? "v" : type);
        xml += "\" access=\"read\"/>\n";
    }
    return xml + " </interface>\n";
}

/** First path words below a path. */
std::set<std::string> children(const std::map<std::string, Object>& objects,
                               const std::string& path)
{
    std::string above = path == "/" ? path : path + "/";
    std::set<std::string> names;
    for (const auto& [candidate, object] : objects)
    {
        if (candidate.size() > above.size() && candidate.starts_with(above))
        {
            std::string rest = candidate.substr(above.size());
            names.insert(rest.substr(0, rest.find('/')));
        }
    }
    return names;
}

} // namespace

bool takesProperties(const Call& call)
{
    return (call.member == "Get" && call.signature == "ss") ||
           (call.member == "GetAll" && call.signature == "s");
}

Reply answerProperties(const Object& object, const Call& call)
{
    if (!takesProperties(call))
    {
        return refuse("InvalidArgs", "Only Get(ss) and GetAll(s) are here.");
    }
    auto name = call.args[0].get<std::string>();
    auto interface = object.find(name);
    if (interface == object.end())
    {
        return refuse("UnknownInterface", "Unknown interface '" + name + "'.");
    }
    return call.member == "GetAll"
             ? getAll(interface->second)
             : get(interface->second, call.args[1].get<std::string>());
}

Reply introspect(const std::map<std::string, Object>& objects, const Call& call)
{
    std::string xml = "<node>\n";
    auto object = objects.find(call.path);
    if (object != objects.end())
    {
        for (const auto& [name, interface] : object->second)
        {
            xml += interfaceXml(name, interface);
        }
    }
    for (const std::string& child : children(objects, call.path))
    {
        xml += " <node name=\"" + child + "\"/>\n";
    }
    return Reply::text(xml + "</node>\n");
}

} // namespace sim
