// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sim
{

/** A signal that goes with a reply. */
struct Signal
{
    /** Well-known name of the sender; empty: the service that replies. */
    std::string service;
    std::string path;
    std::string interface;
    std::string member;
    std::string signature;
    Json values = Json::array();
    std::chrono::milliseconds delay{0};
};

/** What a service does with one call. */
struct Reply
{
    enum class Kind
    {
        values,
        error,
        /** No answer at all; the caller's time-out decides. */
        silent,
        /** The service's connection closes without an answer. */
        die,
        /** Not this one: what lies below (a model) answers. */
        pass,
    };

    Kind kind = Kind::values;
    std::string signature;
    Json values = Json::array();
    std::string errorName;
    std::string errorMessage;
    std::chrono::milliseconds delay{0};
    /** Sent before the reply, in order; a delay counts from the call on and
     *  holds back the reply. */
    std::vector<Signal> before;
    /** Sent after the reply; a delay counts from the reply on, and without one
     *  the signal follows right behind it. */
    std::vector<Signal> after;
    /** Time from the reply to the death of the service's connection. */
    std::optional<std::chrono::milliseconds> dieAfter;

    static Reply of(std::string signature, Json values);
    static Reply one(std::string signature, Json value);
    static Reply text(std::string text);
    /** The document in one string. */
    static Reply json(const Json& document);
    static Reply error(std::string name, std::string message);
};

/** Keys of one object that another reader looks at. */
using Keys = std::vector<const char*>;

/** Reads a reply from a scenario. Throws ScenarioError. */
Reply readReply(const Node& node, Keys more = {});

/** Replies in order, the last one for ever. Copies share their position. */
class ReplyScript
{
  public:
    /** From a reply, or from "replies". Throws ScenarioError. */
    explicit ReplyScript(const Node& node, Keys more = {});

    const Reply& next();

  private:
    struct State
    {
        std::vector<Reply> replies;
        size_t position = 0;
    };

    std::shared_ptr<State> state;
};

} // namespace sim
