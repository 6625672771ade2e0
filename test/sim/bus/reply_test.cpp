// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/faults.hpp"
#include "sim/bus/reply.hpp"

#include <gtest/gtest.h>

#include <string>

using sim::Call;
using sim::Faults;
using sim::Json;
using sim::Node;
using sim::Reply;
using sim::ReplyScript;

namespace
{

Reply parse(const char* text)
{
    Json json = Json::parse(text);
    return sim::readReply(Node(json, "r"));
}

TEST(Reply, documentsBecomeOneText)
{
    Reply reply = parse(R"({"json": {"b": 1, "a": [null]}})");
    EXPECT_EQ(reply.signature, "s");
    EXPECT_EQ(reply.values, Json::array({R"({"b":1,"a":[null]})"}));
}

TEST(Reply, textMayBePieced)
{
    Reply reply = parse(R"({"text": ["<", {"times": 3, "text": "ab"}, ">"]})");
    EXPECT_EQ(reply.values, Json::array({"<ababab>"}));
}

TEST(Reply, timesAndSignalsAreRead)
{
    Reply reply = parse(R"({"silent": true, "delay_ms": 5, "die_after_ms": 0,
        "signals_before": [{"path": "/", "interface": "a.b", "member": "C",
                            "signature": "u", "args": [1], "delay_ms": 7}]})");
    EXPECT_EQ(reply.kind, Reply::Kind::silent);
    EXPECT_EQ(reply.delay.count(), 5);
    EXPECT_EQ(reply.dieAfter.value().count(), 0);
    ASSERT_EQ(reply.before.size(), 1U);
    EXPECT_EQ(reply.before[0].delay.count(), 7);
    EXPECT_EQ(reply.before[0].values, Json::array({1}));
    EXPECT_TRUE(reply.after.empty());
}

class BadReply : public testing::TestWithParam<const char*>
{
};

TEST_P(BadReply, isRefused)
{
    EXPECT_THROW(parse(GetParam()), sim::ScenarioError);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadReply,
    testing::Values("{}", "[]", R"({"text": "a", "json": 1})",
                    R"({"silent": false})", R"({"error": {"name": "plain"}})",
                    R"({"error": {"message": "x"}})",
                    R"({"return": [1], "out": "s"})",
                    R"({"text": "a", "delay_ms": -1})",
                    R"({"die": true, "signals_after": [{"path": "/"}]})"));

TEST(ReplyScript, staysAtItsLastReply)
{
    Json json = Json::parse(R"({"replies": [{"text": "a"}, {"text": "b"}]})");
    ReplyScript script(Node(json, "r"));
    EXPECT_EQ(script.next().values[0], "a");
    EXPECT_EQ(script.next().values[0], "b");
    EXPECT_EQ(script.next().values[0], "b");
}

TEST(ReplyScript, needsAReply)
{
    Json json = Json::parse(R"({"replies": []})");
    EXPECT_THROW(ReplyScript(Node(json, "r")), sim::ScenarioError);
}

TEST(Faults, fitByWhatTheyName)
{
    Json json = Json::parse(
        R"([{"service": "s.a", "member": "M", "args": [1], "text": "x"}])");
    Faults faults{Node(json, "f")};
    Call call;
    call.member = "M";
    call.args = Json::array({1, 2});
    EXPECT_TRUE(faults.match("s.a", call));
    EXPECT_FALSE(faults.match("s.b", call));
    call.args = Json::array({2});
    EXPECT_FALSE(faults.match("s.a", call));
    call.args = Json::array();
    EXPECT_FALSE(faults.match("s.a", call));
}

TEST(Faults, thatPassLeaveTheCallToTheNext)
{
    Json json = Json::parse(
        R"([{"replies": [{"pass": true}, {"text": "a"}]}, {"text": "b"}])");
    Faults faults{Node(json, "f")};
    EXPECT_EQ(faults.match("s", Call{}).value().values[0], "b");
    EXPECT_EQ(faults.match("s", Call{}).value().values[0], "a");
}

} // namespace
