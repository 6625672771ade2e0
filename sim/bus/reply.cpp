// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/reply.hpp"

#include "sim/bus/value.hpp"

#include <systemd/sd-bus.h>

#include <utility>

namespace sim
{

namespace
{

using std::chrono::milliseconds;

milliseconds readTime(const Node& node, const char* key)
{
    return milliseconds(node.number(key, 0));
}

void readPieces(const Node& node, std::string& text)
{
    if (node.json().is_string())
    {
        text += node.text();
        return;
    }
    if (node.json().is_array())
    {
        node.eachItem([&](const Node& piece) { readPieces(piece, text); });
        return;
    }
    node.allowOnly({"times", "text"});
    std::string piece = node.at("text").text();
    for (uint64_t left = node.at("times").number(); left > 0; --left)
    {
        text += piece;
    }
}

Signal readSignal(const Node& node)
{
    node.allowOnly({"service", "path", "interface", "member", "signature",
                    "args", "delay_ms"});
    Signal signal{.service = node.text("service", ""),
                  .path = node.at("path").text(),
                  .interface = node.at("interface").text(),
                  .member = node.at("member").text(),
                  .signature = node.text("signature", ""),
                  .delay = readTime(node, "delay_ms")};
    if (auto values = node.find("args"))
    {
        signal.values = values->json();
    }
    checkValues(signal.signature, Node(signal.values, node.place() + "/args"));
    return signal;
}

std::vector<Signal> readSignals(const Node& node, const char* key)
{
    std::vector<Signal> signals;
    if (auto list = node.find(key))
    {
        list->eachItem([&](const Node& item)
                       { signals.push_back(readSignal(item)); });
    }
    return signals;
}

Reply readError(const Node& node)
{
    node.allowOnly({"name", "message"});
    std::string name = node.at("name").text();
    if (sd_bus_interface_name_is_valid(name.c_str()) <= 0)
    {
        node.at("name").fail("is not a valid error name");
    }
    return Reply::error(name, node.text("message", ""));
}

Reply readReturn(const Node& node)
{
    Node values = node.at("return");
    std::string signature = node.text("out", "");
    checkValues(signature, values);
    return Reply::of(signature, values.json());
}

Reply readText(const Node& node)
{
    std::string text;
    readPieces(node, text);
    return Reply::text(std::move(text));
}

Reply ofKind(const Node& node, const char* key, Reply::Kind kind)
{
    if (!node.flag(key, false))
    {
        node.at(key).fail("must be true");
    }
    Reply reply;
    reply.kind = kind;
    return reply;
}

Reply readCore(const Node& node)
{
    static constexpr const char* kinds[] = {"return", "json", "text", "error",
                                            "silent", "die",  "pass"};
    int found = 0;
    for (const char* kind : kinds)
    {
        found += node.has(kind) ? 1 : 0;
    }
    if (found != 1)
    {
        node.fail("needs one of return, json, text, error, silent, die, pass");
    }
    if (node.has("return"))
    {
        return readReturn(node);
    }
    if (auto document = node.find("json"))
    {
        return Reply::json(document->json());
    }
    if (auto text = node.find("text"))
    {
        return readText(*text);
    }
    if (auto error = node.find("error"))
    {
        return readError(*error);
    }
    if (node.has("silent"))
    {
        return ofKind(node, "silent", Reply::Kind::silent);
    }
    return node.has("die") ? ofKind(node, "die", Reply::Kind::die)
                           : ofKind(node, "pass", Reply::Kind::pass);
}

} // namespace

Reply Reply::of(std::string signature, Json values)
{
    Reply reply;
    reply.signature = std::move(signature);
    reply.values = std::move(values);
    return reply;
}

Reply Reply::one(std::string signature, Json value)
{
    Json values = Json::array();
    values.push_back(std::move(value));
    return of(std::move(signature), std::move(values));
}

Reply Reply::text(std::string text)
{
    return one("s", std::move(text));
}

Reply Reply::json(const Json& document)
{
    return text(document.dump());
}

Reply Reply::error(std::string name, std::string message)
{
    Reply reply;
    reply.kind = Kind::error;
    reply.errorName = std::move(name);
    reply.errorMessage = std::move(message);
    return reply;
}

Reply readReply(const Node& node, Keys more)
{
    more.insert(more.end(), {"return", "out", "json", "text", "error", "silent",
                             "die", "pass", "delay_ms", "die_after_ms",
                             "signals_before", "signals_after"});
    node.allowOnly(more);
    Reply reply = readCore(node);
    reply.delay = readTime(node, "delay_ms");
    reply.before = readSignals(node, "signals_before");
    reply.after = readSignals(node, "signals_after");
    if (node.has("die_after_ms"))
    {
        reply.dieAfter = readTime(node, "die_after_ms");
    }
    return reply;
}

ReplyScript::ReplyScript(const Node& node, Keys more) :
    state(std::make_shared<State>())
{
    more.emplace_back("replies");
    auto list = node.find("replies");
    if (!list)
    {
        state->replies.push_back(readReply(node, std::move(more)));
        return;
    }
    node.allowOnly(more);
    list->eachItem([&](const Node& item)
                   { state->replies.push_back(readReply(item)); });
    if (state->replies.empty())
    {
        list->fail("needs a reply");
    }
}

const Reply& ReplyScript::next()
{
    const Reply& reply = state->replies[state->position];
    if (state->position + 1 < state->replies.size())
    {
        ++state->position;
    }
    return reply;
}

} // namespace sim
