// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace sim
{

/** Members stay in the order in which the scenario writes them, so that a
 *  document goes out as its author wrote it. */
using Json = nlohmann::ordered_json;

/** A mistake in a scenario; the text names the place. */
class ScenarioError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/** A value of the scenario together with its place ("/services/x/objects"),
 *  so that every complaint can say where. It refers to the value: the
 *  scenario must outlive it. */
class Node
{
  public:
    Node(const Json& value, std::string place);

    const Json& json() const
    {
        return *value;
    }

    const std::string& place() const
    {
        return where;
    }

    [[noreturn]] void fail(const std::string& what) const;

    bool has(const std::string& key) const;
    /** The member; a complaint when it is absent. */
    Node at(const std::string& key) const;
    std::optional<Node> find(const std::string& key) const;

    std::string text() const;
    std::string text(const std::string& key, const std::string& absent) const;
    /** A whole number, or a text with one in C notation ("0x8c0000"). */
    uint64_t number() const;
    uint64_t number(const std::string& key, uint64_t absent) const;
    /** The same, with a complaint when it is not from least to most. */
    uint64_t number(const std::string& key, uint64_t absent, uint64_t least,
                    uint64_t most) const;
    bool flag(const std::string& key, bool absent) const;

    void eachMember(const std::function<void(const std::string&, const Node&)>&
                        visit) const;
    void eachItem(const std::function<void(const Node&)>& visit) const;

    /** Complains about the first member that is not one of these, and names
     *  these: a mistyped word must not silently do nothing. */
    void allowOnly(const std::vector<const char*>& keys) const;

  private:
    void mustBe(bool fits, const char* kind) const;

    const Json* value;
    std::string where;
};

} // namespace sim
