// SPDX-License-Identifier: Apache-2.0
#include "sim/scenario/scenario.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using sim::Json;

namespace
{

class Scenario : public testing::Test
{
  protected:
    void SetUp() override
    {
        char name[] = "/tmp/scenario-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
    }

    void TearDown() override
    {
        std::filesystem::remove_all(folder);
    }

    std::string write(const std::string& name, const std::string& text) const
    {
        std::string file = folder + "/" + name;
        std::ofstream(file) << text;
        return file;
    }

    std::string folder;
};

TEST_F(Scenario, laterFilesPatchEarlierOnes)
{
    auto first = write("a", R"({"x": {"y": 1, "z": null, "w": 2}, "l": [1]})");
    auto second = write("b", R"({"x": {"y": 3, "w": null}, "l": [2]})");
    EXPECT_EQ(sim::loadScenario({first, second}),
              Json::parse(R"({"x": {"y": 3, "z": null}, "l": [2]})"));
}

TEST_F(Scenario, filesAreTakenInFromTheScenariosFolder)
{
    write("part", R"([{"@repeat": 2, "item": "n{index}"}])");
    auto file = write("a", R"({"d": {"@file": "part"}})");
    EXPECT_EQ(sim::loadScenario({file}), Json::parse(R"({"d": ["n0", "n1"]})"));
}

TEST_F(Scenario, whatIsNoScenarioIsRefused)
{
    EXPECT_THROW(sim::loadScenario({folder + "/none"}), sim::ScenarioError);
    EXPECT_THROW(sim::loadScenario({write("a", "[")}), sim::ScenarioError);
    EXPECT_THROW(sim::loadScenario({write("a", "[]")}), sim::ScenarioError);
}

TEST(Repeat, fillsInTheNumberAtAnyDepth)
{
    auto document = Json::parse(
        R"([0, {"@repeat": 2, "item": {"a": ["@index", "{index}+{index}"]}}])");
    EXPECT_EQ(sim::expand(document, ""),
              Json::parse(R"([0, {"a": [0, "0+0"]}, {"a": [1, "1+1"]}])"));
}

TEST(Repeat, mayStandForNothing)
{
    EXPECT_EQ(sim::expand(Json::parse(R"([{"@repeat": 0, "item": 1}])"), ""),
              Json::array());
}

TEST(Repeat, refusesWhatItDoesNotKnow)
{
    EXPECT_THROW(sim::expand(Json::parse(R"([{"@repeat": 1, "itm": 1}])"), ""),
                 sim::ScenarioError);
    EXPECT_THROW(
        sim::expand(Json::parse(R"([{"@repeat": "x", "item": 1}])"), ""),
        sim::ScenarioError);
}

} // namespace
