// SPDX-License-Identifier: Apache-2.0
#include "test/io/private_bus.hpp"
#include "test/support.hpp"
#include "tool/dispatch.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <sdbusplus/asio/connection.hpp>

#include <string>
#include <vector>

namespace
{

/** What a run of these words prints when there is no more on the bus than
 *  this; empty for a success. */
std::string failureOf(const DbusConnPtr& bus, std::vector<std::string> words)
{
    words.insert(words.begin(), "zantric");
    std::vector<char*> arguments;
    for (std::string& word : words)
    {
        arguments.push_back(word.data());
    }
    optind = 0;
    tool::Options options;
    EXPECT_TRUE(tool::parseOptions(static_cast<int>(arguments.size()),
                                   arguments.data(), options));
    bool done = true;
    const std::string printed =
        printedBy([&] { done = tool::dispatch(bus, options); });
    return done ? "" : printed;
}

struct Case
{
    std::vector<std::string> words;
    const char* printed;
};

void PrintTo(const Case& which, std::ostream* stream)
{
    for (const std::string& word : which.words)
    {
        *stream << word << ' ';
    }
}

/** What ends before anything is asked on the bus: there is none. */
class WithoutABus : public testing::TestWithParam<Case>
{
};

TEST_P(WithoutABus, saysWhatIsMissing)
{
    EXPECT_EQ(failureOf(nullptr, GetParam().words), GetParam().printed);
}

const Case unknownWords[] = {
    {{"-o", ""}, "Unknown operation: \n"},
    {{"-o", "List"}, "Unknown operation: List\n"},
    {{"-o", "lists"}, "Unknown operation: lists\n"},
    {{"-o", "list "}, "Unknown operation: list \n"},
    {{"-o", "showi2c"}, "Unknown operation: showi2c\n"},
    {{"-o", "Drive.Reset"}, "Unknown operation: Drive.Reset\n"},
};
INSTANTIATE_TEST_SUITE_P(UnknownWords, WithoutABus,
                         testing::ValuesIn(unknownWords));

const Case checksOfShow[] = {
    {{"-o", "show"}, "Service not specified\n"},
    {{"-o", "show", "-a", "1"}, "Service not specified\n"},
    {{"-o", "show", "-s", "rsa"}, "Device address not specified\n"},
    {{"-o", "show", "-t", "Drives"}, "Service not specified\n"},
    {{"-o", "show", "-t", "Drives", "-s", "rsa"},
     "Device address not specified\n"},
    {{"-o", "show", "-t", "Ports"}, "Service not specified\n"},
    {{"-o", "show", "-t", "Ports", "-s", "nvmed"}, "Unknown target: Ports\n"},
    {{"-o", "show", "-t", "drives", "-s", "rsa", "-a", "1"},
     "Unknown target: drives\n"},
};
INSTANTIATE_TEST_SUITE_P(ChecksOfShow, WithoutABus,
                         testing::ValuesIn(checksOfShow));

const Case checksOfChanges[] = {
    {{"-o", "create"}, "Device address not specified\n"},
    {{"-o", "create", "-a", "1"}, "Param or file is NOT specified\n"},
    {{"-o", "edit"}, "Resource ID not specified\n"},
    {{"-o", "edit", "-r", "1"}, "Device address not specified\n"},
    {{"-o", "edit", "-r", "1", "-a", "1"}, "Param or file is NOT specified\n"},
    {{"-o", "delete"},
     "Device address or resource id or service not specified\n"},
    {{"-o", "delete", "-a", "1", "-s", "rsa"},
     "Device address or resource id or service not specified\n"},
    {{"-o", "delete", "-a", "1", "-r", "1"},
     "Device address or resource id or service not specified\n"},
    {{"-o", "delete", "-r", "1", "-s", "rsa"},
     "Device address or resource id or service not specified\n"},
    {{"-o", "clear", "-a", "1"}, "Device address or service not specified\n"},
    {{"-o", "clear", "-s", "rsa"}, "Device address or service not specified\n"},
};
INSTANTIATE_TEST_SUITE_P(ChecksOfChanges, WithoutABus,
                         testing::ValuesIn(checksOfChanges));

const Case checksOfActions[] = {
    {{"-o", "#"}, "Unknown action: #\n"},
    {{"-o", "#Volume.Reset"}, "Unknown action: #Volume.Reset\n"},
    {{"-o", "#drive.Reset"}, "Unknown action: #drive.Reset\n"},
    {{"-o", "#Drive.Reset"}, "Device address or service not specified\n"},
    {{"-o", "#Drive.Reset", "-a", "1"},
     "Device address or service not specified\n"},
    {{"-o", "#Drive.Blink", "-s", "rsa"},
     "Device address or service not specified\n"},
    {{"-o", "#Drive.Blink", "-s", "rsa", "-a", "1"},
     "Unsupported drive action: #Drive.Blink\n"},
};
INSTANTIATE_TEST_SUITE_P(ChecksOfActions, WithoutABus,
                         testing::ValuesIn(checksOfActions));

const Case checksOfOthers[] = {
    {{"-o", "attest"}, "Device address not specified\n"},
    {{"-o", "event"},
     "Insufficient parameters\nFailed to generate event log\n"},
    {{"-o", "update", "-s", "rsa", "-f", "none.bin", "-p", "NP=1"},
     "Invalid params: NP=1\n"},
};
INSTANTIATE_TEST_SUITE_P(ChecksOfOthers, WithoutABus,
                         testing::ValuesIn(checksOfOthers));

/** What is asked on a bus where no service is. */
class OnAnEmptyBus : public testing::TestWithParam<Case>
{
  protected:
    const PrivateBus bus;
};

TEST_P(OnAnEmptyBus, saysWhatFailed)
{
    EXPECT_EQ(failureOf(bus.connect(), GetParam().words), GetParam().printed);
}

const Case calls[] = {
    {{"-o", "list", "-t", "Drives", "-s", "rsa", "-a", "1"},
     "Failed to get Drives from service rsa\n"},
    {{"-o", "show", "-t", "Objects"},
     "getSubTree(com.mervax.Inventory.Item.SoftwareInventory) failed\n"},
    {{"-o", "show", "-t", "objects", "-f", "com.a"},
     "getSubTree(com.a) failed\n"},
    {{"-o", "show", "-t", "Drives", "-s", "nvmed"},
     "Dbus call GetDrives failed\n"},
    {{"-o", "show", "-s", "rsa", "-a", "1f"},
     "Failed to get device 0x1f from rsa\n"},
    {{"-o", "delete", "-s", "rsa", "-a", "1", "-r", "1"},
     "Dbus call DeleteVolume failed\n"},
    {{"-o", "clear", "-s", "rsa", "-a", "1"}, "Dbus call ClearConfig failed\n"},
    {{"-o", "#Drive.Reset", "-s", "rsa", "-a", "1"}, "Reset, dbus failure\n"},
    {{"-o", "#Drive.SecureErase", "-s", "rsa", "-a", "1"},
     "SecureErase, dbus failure\n"},
    {{"-o", "ttylog"},
     "getServicesWithInterface(com.mervax.Operation.Storage.Misc) failed\n"},
};
INSTANTIATE_TEST_SUITE_P(Calls, OnAnEmptyBus, testing::ValuesIn(calls));

/** A service word that no bus name can have. */
const Case exceptions[] = {
    {{"-o", "show", "-s", "no service", "-a", "1"},
     "showDeviceInfo: no service, device 0x1; exception: "
     "sd_bus_message_new_method_call: "
     "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n"},
    {{"-o", "delete", "-s", "no service", "-a", "1", "-r", "1"},
     "deleteVolume exception: "
     "sd_bus_message_new_method_call: "
     "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n"},
    {{"-o", "clear", "-s", "no service", "-a", "1"},
     "clearConfig exception: "
     "sd_bus_message_new_method_call: "
     "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n"},
    {{"-o", "#Drive.Reset", "-s", "no service", "-a", "1"},
     "driveAction exception: "
     "sd_bus_message_new_method_call: "
     "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n"},
    {{"-o", "show", "-t", "Objects", "-f", "\xff"},
     "showObjects exception: An argument cannot be sent: "
     "sd_bus_message_append: org.freedesktop.DBus.Error.InvalidArgs: "
     "Invalid argument\n"},
};
INSTANTIATE_TEST_SUITE_P(Exceptions, OnAnEmptyBus,
                         testing::ValuesIn(exceptions));

TEST(Dispatch, anExceptionWithoutAnOperationsWordsGoesOn)
{
    const PrivateBus bus;
    EXPECT_THROW(failureOf(bus.connect(), {"-o", "show", "-t", "Drives", "-s",
                                           "no service", "-a", "1"}),
                 std::exception);
}

} // namespace
