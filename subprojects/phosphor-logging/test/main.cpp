// SPDX-License-Identifier: Apache-2.0
#include "support/journal.hpp"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Before anything logs: the journal's place is a fixed path.
    enterPrivateRun();
    return RUN_ALL_TESTS();
}
