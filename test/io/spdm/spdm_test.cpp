// SPDX-License-Identifier: Apache-2.0
#include "test/io/spdm/spdm_fixture.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

using mctp::spdm::SpdmLib;

namespace
{

using Context = SpdmTest;

/** malloc() hands out no more than half of what a size can tell. */
constexpr size_t tooMuch = SIZE_MAX / 2 + 1;

TEST_F(Context, initializeConfiguresALibrary)
{
    libspdm_return_t status = 1;
    EXPECT_EQ(journalOf([&] { status = SpdmLib::initialize(); }),
              Lines{"<6> SPDM Lib initialized"});
    EXPECT_EQ(status, 0U);
    EXPECT_EQ(scripted.calls,
              (Lines{"init_context", "transport", "buffers", "scratch 64"}));
    EXPECT_EQ(scripted.sizes,
              (std::vector<uint32_t>{4608, 64, 64, 4480, 4736}));
    EXPECT_EQ(scripted.verify, SpdmLib::verifyRemoteCertChain);
}

TEST_F(Context, settingsHaveTheirWidths)
{
    struct Expected
    {
        libspdm_data_type_t item;
        uint64_t value;
        size_t size;
    };

    constexpr std::array table{
        Expected{LIBSPDM_DATA_CAPABILITY_CT_EXPONENT, 0, 1},
        Expected{LIBSPDM_DATA_CAPABILITY_RTT_US, 1000000, 8},
        Expected{LIBSPDM_DATA_CAPABILITY_FLAGS, 0x262C6, 4},
        Expected{LIBSPDM_DATA_MEASUREMENT_SPEC, 1, 1},
        Expected{LIBSPDM_DATA_BASE_ASYM_ALGO, 0x80, 4},
        Expected{LIBSPDM_DATA_BASE_HASH_ALGO, 3, 4},
        Expected{LIBSPDM_DATA_DHE_NAME_GROUP, 0x1B, 2},
        Expected{LIBSPDM_DATA_AEAD_CIPHER_SUITE, 6, 2},
        Expected{LIBSPDM_DATA_REQ_BASE_ASYM_ALG, 0x80, 2},
        Expected{LIBSPDM_DATA_KEY_SCHEDULE, 1, 2},
        Expected{LIBSPDM_DATA_OTHER_PARAMS_SUPPORT, 0x12, 1},
        Expected{LIBSPDM_DATA_MEL_SPEC, 1, 1},
    };
    journalOf([] { SpdmLib::initialize(); });
    ASSERT_EQ(scripted.settings.size(), table.size());
    for (const Expected& row : table)
    {
        const auto found = std::find_if(
            scripted.settings.begin(), scripted.settings.end(),
            [&row](const auto& set) { return set.item == row.item; });
        ASSERT_NE(found, scripted.settings.end()) << row.item;
        EXPECT_EQ(found->location, LIBSPDM_DATA_LOCATION_LOCAL) << row.item;
        EXPECT_EQ(found->value, row.value) << row.item;
        EXPECT_EQ(found->size, row.size) << row.item;
    }
}

TEST_F(Context, initializeTwiceReusesTheContext)
{
    journalOf([] { SpdmLib::initialize(); });
    scripted.calls.clear();
    // A new context would have this size and fail.
    scripted.contextSize = tooMuch;
    libspdm_return_t status = 1;
    EXPECT_EQ(journalOf([&] { status = SpdmLib::initialize(); }),
              Lines{"<6> SPDM Lib initialized"});
    EXPECT_EQ(status, 0U);
    EXPECT_EQ(scripted.calls, (Lines{"deinit_context", "init_context",
                                     "transport", "buffers", "scratch 64"}));
}

TEST_F(Context, noMemoryForTheContext)
{
    scripted.contextSize = tooMuch;
    libspdm_return_t status = 0;
    EXPECT_EQ(journalOf([&] { status = SpdmLib::initialize(); }),
              Lines{"<3> [ERR] malloc spdm context failed"});
    EXPECT_EQ(status, 0x80010001U);
    EXPECT_TRUE(scripted.calls.empty());
}

TEST_F(Context, theLibraryRefusesTheContext)
{
    scripted.initContext = 0x80060000;
    libspdm_return_t status = 0;
    EXPECT_EQ(journalOf([&] { status = SpdmLib::initialize(); }),
              Lines{"<3> [ERR] spdm init context failed"});
    EXPECT_EQ(status, 0x80060000U);
    journalOf(SpdmLib::uninitialize);
    EXPECT_EQ(scripted.calls, Lines{"init_context"});
}

TEST_F(Context, noMemoryForTheScratchBufferIsFoundOutLater)
{
    scripted.scratchSize = tooMuch;
    libspdm_return_t status = 1;
    EXPECT_EQ(journalOf([&] { status = SpdmLib::initialize(); }),
              (Lines{"<3> [ERR] malloc scratch buffer failed",
                     "<6> SPDM Lib uninitialized"}));
    EXPECT_EQ(status, 0U);
    EXPECT_TRUE(scripted.settings.empty());
    Lines lines;
    EXPECT_EQ(attest(lines), 0x80010001U);
    EXPECT_EQ(lines, Lines{"<3> [ERR] SPDM context not initialized or "
                           "connection not set"});
}

TEST_F(Context, uninitializeMayComeAtAnyTime)
{
    EXPECT_EQ(journalOf(SpdmLib::uninitialize),
              Lines{"<6> SPDM Lib uninitialized"});
    EXPECT_TRUE(scripted.calls.empty());
}

TEST_F(Context, withoutAConnectionNothingIsAttested)
{
    journalOf([] { SpdmLib::initialize(); });
    SpdmLib::connection.reset();
    Lines lines;
    EXPECT_EQ(attest(lines), 0x80010001U);
    EXPECT_EQ(lines, Lines{"<3> [ERR] SPDM context not initialized or "
                           "connection not set"});
}

TEST_F(Context, buffersAreFixedAndZeroed)
{
    journalOf([] { SpdmLib::initialize(); });
    void* first = nullptr;
    void* again = nullptr;
    ASSERT_EQ(scripted.acquireSender(nullptr, &first), 0U);
    auto* bytes = static_cast<uint8_t*>(first);
    bytes[0] = 1;
    bytes[4479] = 1;
    ASSERT_EQ(scripted.acquireSender(nullptr, &again), 0U);
    EXPECT_EQ(first, again);
    EXPECT_EQ(std::count(bytes, bytes + 4480, 0), 4480);
    void* other = nullptr;
    ASSERT_EQ(scripted.acquireReceiver(nullptr, &other), 0U);
    EXPECT_NE(other, first);
    bytes = static_cast<uint8_t*>(other);
    bytes[4735] = 1;
    ASSERT_EQ(scripted.acquireReceiver(nullptr, &other), 0U);
    EXPECT_EQ(std::count(bytes, bytes + 4736, 0), 4736);
}

} // namespace
