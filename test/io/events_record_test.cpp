// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsRecord.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <utility>

namespace
{

using io::EventSeverity;
using io::ThresholdSensorState;
using io::events::EventRecord;

struct Expected
{
    const char* id;
    int priority;
    const char* message;
};

const std::string prefix =
    "This message is for the use case when an implementation has detected ";

/** Every change of state with a record: {old, new} to what it says. */
const std::map<std::pair<unsigned, unsigned>, Expected> temperatureTable = []
{
    const Expected toCritical{"HRLKDCA0017M", 2,
                              "PCIe %1 overtemperature has transitioned to "
                              "critical from a less severe state."};
    const Expected toNonRecoverable{
        "HRLKDCA0019N", 2,
        "PCIe %1 overtemperature has transitioned to non-recoverable from a "
        "less severe state."};
    const Expected backToNonCritical{
        "HRLKDCA2017I", 6,
        "PCIe %1 overtemperature has transitioned to a less severe state from "
        "critical."};
    const Expected backToCritical{
        "HRLKDCA2019I", 6,
        "PCIe %1 overtemperature has deasserted the transition to "
        "non-recoverable from a less severe state."};
    const Expected backToNormal{
        "HRLKDCA0013I", 6,
        "PCIe %1 overtemperature has transitioned to normal state."};
    std::map<std::pair<unsigned, unsigned>, Expected> table{
        {{0, 2}, toCritical},        {{1, 2}, toCritical},
        {{0, 3}, toNonRecoverable},  {{1, 3}, toNonRecoverable},
        {{2, 3}, toNonRecoverable},  {{2, 1}, backToNonCritical},
        {{3, 1}, backToNonCritical}, {{3, 2}, backToCritical},
        {{1, 0}, backToNormal},      {{2, 0}, backToNormal},
        {{3, 0}, backToNormal}};
    // An old state without a name is worse than all that have one.
    for (unsigned old = 4; old < 16; ++old)
    {
        table[{old, 0}] = backToNormal;
        table[{old, 1}] = backToNonCritical;
        table[{old, 2}] = backToCritical;
    }
    return table;
}();

TEST(TemperatureRecord, everyPairOfStates)
{
    for (unsigned oldState = 0; oldState < 16; ++oldState)
    {
        for (unsigned newState = 0; newState < 16; ++newState)
        {
            SCOPED_TRACE(std::to_string(oldState) + "=>" +
                         std::to_string(newState));
            const auto record = io::events::temperatureRecord(
                7, static_cast<ThresholdSensorState>(oldState),
                static_cast<ThresholdSensorState>(newState));
            const auto expected = temperatureTable.find({oldState, newState});
            ASSERT_EQ(record.has_value(), expected != temperatureTable.end());
            if (record)
            {
                EXPECT_EQ(record->messageId, expected->second.id);
                EXPECT_EQ(record->priority, expected->second.priority);
                EXPECT_STREQ(record->message, expected->second.message);
                EXPECT_EQ(record->arguments, "7");
                EXPECT_STREQ(record->line, "CODE_LINE=464");
                EXPECT_STREQ(record->function, "temperatureEvent");
            }
        }
    }
}

const std::map<std::string, std::string> informationalTable{
    {"HRLKDUN0048I", "a Sensor transition to the normal state"},
    {"HRLKDUN2049I", "that a Sensor has deasserted a transition to "
                     "non-critical from normal"},
    {"HRLKDUN2050I", "a Sensor transition to less severe from critical"},
    {"HRLKDUN0057I", "a RAID controller does not have a battery."},
    {"HRLKDUN2057I", "that a RAID controller has a battery."},
};

/** The record that there must be. */
EventRecord storageRecord(uint8_t slot, EventSeverity severity,
                          const std::string& id, const char* extra)
{
    auto found = io::events::storageRecord(slot, severity, id, extra);
    EXPECT_TRUE(found) << id;
    return found.value_or(EventRecord{});
}

TEST(StorageRecord, everyInformationalId)
{
    for (const auto& [id, text] : informationalTable)
    {
        const EventRecord record =
            storageRecord(2, EventSeverity::informational, id, nullptr);
        EXPECT_EQ(record.messageId, id);
        EXPECT_EQ(record.message, prefix + text);
        EXPECT_EQ(record.priority, 6);
        EXPECT_EQ(record.arguments, "2");
        EXPECT_STREQ(record.line, "CODE_LINE=383");
        EXPECT_STREQ(record.function, "storageEvent");
    }
}

TEST(StorageRecord, anInformationalIdMustBeKnownToTheLetter)
{
    for (const char* id : {"X", "", "HRLKDUN0048", "HRLKDUN0048i",
                           "HRLKDUN0048I ", "EventRegistry.1.0.HRLKDUN0048I"})
    {
        EXPECT_FALSE(io::events::storageRecord(2, EventSeverity::informational,
                                               id, nullptr))
            << id;
    }
}

TEST(StorageRecord, anyIdServesASevereEvent)
{
    const std::string warning = prefix +
                                "a Sensor transitioned to non-critical from "
                                "normal";
    const std::string critical = prefix +
                                 "a Sensor transitioned to critical from less "
                                 "severe";
    for (const char* id : {"HRLKDUN0048I", "X", ""})
    {
        const EventRecord one =
            storageRecord(255, EventSeverity::warning, id, nullptr);
        EXPECT_EQ(one.message, warning);
        EXPECT_EQ(one.priority, 4);
        EXPECT_EQ(one.messageId, id);
        EXPECT_EQ(one.arguments, "255");
        for (unsigned severity : {2U, 3U, 255U})
        {
            const EventRecord more = storageRecord(
                0, static_cast<EventSeverity>(severity), id, nullptr);
            EXPECT_EQ(more.message, critical);
            EXPECT_EQ(more.priority, 2);
        }
    }
}

TEST(StorageRecord, anExtraArgumentHasALineOfItsOwn)
{
    for (const char* extra : {"Battery", "", "a::b", "%s"})
    {
        const EventRecord record =
            storageRecord(3, EventSeverity::warning, "HRLKDUN0001J", extra);
        EXPECT_EQ(record.arguments, std::string("3::") + extra);
        EXPECT_STREQ(record.line, "CODE_LINE=391");
        EXPECT_STREQ(record.function, "storageEvent");
    }
}

TEST(LomLinkRecord, up)
{
    const EventRecord record = io::events::lomLinkRecord(3, 1, "LOM1", true);
    EXPECT_STREQ(record.function, "eventLogLomLinkStateChange");
    EXPECT_STREQ(record.line, "CODE_LINE=250");
    EXPECT_EQ(record.message, prefix + "that a link up of PCIe");
    EXPECT_EQ(record.priority, 6);
    EXPECT_EQ(record.messageId, "HRLKDEA2003I");
    EXPECT_EQ(record.arguments, "1::LOM1::3");
}

TEST(LomLinkRecord, downHasNoSlot)
{
    const EventRecord record = io::events::lomLinkRecord(3, 1, "LOM1", false);
    EXPECT_STREQ(record.function, "eventLogLomLinkStateChange");
    EXPECT_STREQ(record.line, "CODE_LINE=261");
    EXPECT_EQ(record.message, prefix + "a Link down of PCIe device");
    EXPECT_EQ(record.priority, 4);
    EXPECT_EQ(record.messageId, "HRLKDEA0003J");
    EXPECT_EQ(record.arguments, "1::LOM1");
}

} // namespace
