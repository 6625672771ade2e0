// SPDX-License-Identifier: Apache-2.0
#include "subprojects/libspdm/src/requests.hpp"
#include "subprojects/libspdm/src/wire.hpp"
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

#include <array>

namespace
{

using spdm::Reader;
using spdm::Writer;

TEST(Wire, numbersAreLittleEndian)
{
    std::array<uint8_t, 16> area{};
    Writer writer(area);
    writer.u8(1);
    writer.u16(0x0302);
    writer.u32(0x07060504);
    Reader reader(spdm::Bytes(area).first(writer.size()));
    EXPECT_EQ(reader.u8(), 1);
    EXPECT_EQ(reader.u24(), 0x040302U);
    EXPECT_EQ(reader.u24(), 0x070605U);
    EXPECT_TRUE(reader.ok());
    EXPECT_EQ(reader.left(), 0U);
}

TEST(Wire, nothingIsReadPastTheEnd)
{
    const std::array<uint8_t, 3> three{1, 2, 3};
    Reader reader{spdm::Bytes(three)};
    EXPECT_EQ(reader.u32(), 0U);
    EXPECT_FALSE(reader.ok());
    EXPECT_EQ(reader.u8(), 0);
    EXPECT_TRUE(reader.take(1).empty());
}

TEST(Wire, nothingIsWrittenPastTheEnd)
{
    std::array<uint8_t, 4> area{9, 9, 9, 9};
    Writer writer(std::span<uint8_t>(area).first(3));
    writer.u16(0x0101);
    writer.u16(0x0202);
    EXPECT_FALSE(writer.ok());
    EXPECT_EQ(writer.size(), 3U);
    EXPECT_EQ(area[3], 9);
}

TEST(Transport, putsTheTypeInFront)
{
    std::array<uint8_t, 8> area{0, 0, 0, 0x12, 0x81, 0, 0, 0};
    void* message = area.data();
    size_t size = area.size();
    EXPECT_EQ(libspdm_transport_mctp_encode_message(
                  nullptr, nullptr, false, true, 4, &area[3], &size, &message),
              0U);
    EXPECT_EQ(message, &area[2]);
    EXPECT_EQ(size, 5U);
    EXPECT_EQ(area[2], 5);
    size = 4;
    EXPECT_EQ(libspdm_transport_mctp_encode_message(
                  nullptr, nullptr, false, true, 4, &area[3], &size, &message),
              LIBSPDM_STATUS_BUFFER_TOO_SMALL);
    uint32_t session = 1;
    EXPECT_EQ(libspdm_transport_mctp_encode_message(
                  nullptr, &session, false, true, 4, &area[3], &size, &message),
              LIBSPDM_STATUS_UNSUPPORTED_CAP);
}

TEST(Transport, findsTheMessageBehindTheType)
{
    struct Row
    {
        uint8_t type;
        size_t size;
        libspdm_return_t status;
    };

    for (Row row :
         {Row{5, 5, 0}, Row{5, 2, 0}, Row{5, 1, 0x80010006},
          Row{5, 0, 0x80010006}, Row{6, 5, 0x80010006}, Row{6, 6, 0x80010002},
          Row{0, 6, 0x80010002}, Row{0x85, 6, 0x80010002}})
    {
        std::array<uint8_t, 8> area{row.type};
        uint32_t* session = nullptr;
        bool isApplication = false;
        void* message = nullptr;
        size_t size = 0;
        EXPECT_EQ(libspdm_transport_mctp_decode_message(
                      nullptr, &session, &isApplication, false, row.size,
                      area.data(), &size, &message),
                  row.status)
            << int{row.type} << " " << row.size;
        if (row.status == 0)
        {
            EXPECT_EQ(message, &area[1]);
            EXPECT_EQ(size, row.size - 1);
        }
        EXPECT_EQ(session != nullptr, row.type == 6 && row.size == 6);
    }
}

TEST(Capabilities, flagsGoTogether)
{
    struct Row
    {
        uint32_t flags;
        std::array<bool, 4> from10;
    };

    for (const Row& row : {
             Row{0x00000000, {true, true, true, true}},
             Row{0x00000006, {true, true, true, true}},
             Row{0x00000002, {false, false, false, false}},
             Row{0x00000004, {false, false, false, false}},
             Row{0x00000012, {true, true, true, true}},
             Row{0x00000010, {false, false, false, false}},
             Row{0x0000001E, {false, false, false, false}},
             Row{0x00000026, {false, false, false, false}},
             Row{0x00000036, {true, true, true, true}},
             Row{0x00000206, {true, false, false, false}},
             Row{0x000002C6, {true, true, true, true}},
             Row{0x000000C6, {true, false, false, false}},
             Row{0x00000106, {true, false, true, true}},
             Row{0x00010006, {true, false, false, false}},
             Row{0x00010004, {false, true, true, true}},
             Row{0x00040008, {true, true, false, false}},
             Row{0x00100006, {true, true, false, false}},
             Row{0x00200006, {true, true, false, false}},
             Row{0x00C00006, {true, true, true, false}},
             Row{0x0C000006, {true, true, true, false}},
             Row{0x04000006, {true, true, true, false}},
             Row{0x14000006, {true, true, true, true}},
             Row{0x00000C06, {true, false, false, false}},
             Row{0x000004C6, {true, true, true, true}},
             Row{0x00000CC6, {true, false, false, false}},
         })
    {
        for (size_t minor = 0; minor < 4; ++minor)
        {
            EXPECT_EQ(spdm::areConsistent(row.flags,
                                          static_cast<uint8_t>(0x10 + minor)),
                      row.from10.at(minor))
                << std::hex << row.flags << " 1." << minor;
        }
    }
}

class Opaque : public testing::Test
{
  protected:
    static bool isFine(const std::vector<uint8_t>& data, uint8_t format = 2)
    {
        spdm::Context context{};
        context.connection.version = 0x1200;
        context.connection.algorithms.otherParams = format;
        return spdm::isWellFormedOpaqueData(context, data);
    }
};

TEST_F(Opaque, format1)
{
    EXPECT_TRUE(isFine({1, 0, 0, 0, 0, 0, 4, 0, 1, 2, 3, 4}));
    EXPECT_TRUE(isFine({2, 0, 0, 0, 0, 0, 0, 0, 3, 2, 8, 8, 2, 0, 1, 1}));
    EXPECT_TRUE(isFine({1, 0, 0, 0, 0, 0, 3, 0, 1, 2, 3, 0}));
    EXPECT_FALSE(isFine({1, 0, 0, 0, 0, 0, 3, 0, 1, 2, 3, 9})) << "padding";
    EXPECT_FALSE(isFine({0, 0, 0, 0})) << "no element";
    EXPECT_FALSE(isFine({1, 0, 0, 0, 0, 0, 5, 0, 1, 2, 3, 4})) << "too long";
    EXPECT_FALSE(isFine({1, 0, 0, 0, 11, 0, 4, 0, 1, 2, 3, 4})) << "registry";
    EXPECT_FALSE(isFine({1, 0, 0, 0, 0, 200, 4, 0})) << "vendor";
    EXPECT_FALSE(isFine({1, 0, 0})) << "alignment";
    EXPECT_FALSE(isFine({2, 0, 0, 0, 0, 0, 0, 0})) << "one of two";
}

TEST_F(Opaque, otherFormatsAreNotLookedInto)
{
    EXPECT_TRUE(isFine({0xFF, 0xFF}, 1));
    EXPECT_TRUE(isFine({0xFF, 0xFF}, 0));
}

TEST(Sizes, ofAlgorithms)
{
    EXPECT_EQ(libspdm_get_hash_size(0), 0U);
    EXPECT_EQ(libspdm_get_hash_size(1), 32U);
    EXPECT_EQ(libspdm_get_hash_size(2), 48U);
    EXPECT_EQ(libspdm_get_hash_size(4), 64U);
    EXPECT_EQ(libspdm_get_hash_size(3), 0U);
    EXPECT_EQ(libspdm_get_measurement_hash_size(1), 0xFFFFFFFFU);
    EXPECT_EQ(libspdm_get_measurement_hash_size(4), 48U);
    EXPECT_EQ(libspdm_get_asym_signature_size(0x10), 64U);
    EXPECT_EQ(libspdm_get_asym_signature_size(0x80), 96U);
    EXPECT_EQ(libspdm_get_asym_signature_size(0x100), 132U);
    EXPECT_EQ(libspdm_get_asym_signature_size(1), 0U);
}

TEST(Hash, ofNothing)
{
    std::array<uint8_t, 64> hash{};
    EXPECT_TRUE(libspdm_hash_all(1, "", 0, hash.data()));
    EXPECT_EQ(hash[0], 0xE3);
    EXPECT_EQ(hash[31], 0x55);
    EXPECT_FALSE(libspdm_hash_all(0, "", 0, hash.data()));
}

TEST(Hash, hasItsAlgorithm)
{
    const char* const names[] = {"SHA256",   "SHA384",   "SHA512",
                                 "SHA3-256", "SHA3-384", "SHA3-512"};
    uint32_t algorithm = 1;
    for (const char* name : names)
    {
        test::Message hash(libspdm_get_hash_size(algorithm));
        EXPECT_TRUE(libspdm_hash_all(algorithm, "abc", 3, hash.data()));
        EXPECT_EQ(hash, test::hashOf(name, {'a', 'b', 'c'})) << name;
        algorithm <<= 1;
    }
}

class Settings : public testing::Test
{
  protected:
    Settings() : memory(libspdm_get_context_size())
    {
        libspdm_init_context(memory.data());
    }

    ~Settings() override
    {
        libspdm_deinit_context(memory.data());
    }

    libspdm_return_t set(libspdm_data_type_t item, size_t size,
                         libspdm_data_location_t location)
    {
        libspdm_data_parameter_t parameter{location, {}};
        uint64_t value = 1;
        return libspdm_set_data(memory.data(), item, &parameter, &value, size);
    }

    libspdm_return_t get(libspdm_data_type_t item, size_t& size,
                         libspdm_data_location_t location)
    {
        libspdm_data_parameter_t parameter{location, {}};
        uint64_t value = 0;
        return libspdm_get_data(memory.data(), item, &parameter, &value, &size);
    }

    std::vector<uint8_t> memory;
};

TEST_F(Settings, itemsHaveTheirSizeAndPlace)
{
    constexpr auto local = LIBSPDM_DATA_LOCATION_LOCAL;
    constexpr auto connection = LIBSPDM_DATA_LOCATION_CONNECTION;
    EXPECT_EQ(set(LIBSPDM_DATA_CAPABILITY_FLAGS, 4, local), 0U);
    EXPECT_EQ(set(LIBSPDM_DATA_CAPABILITY_FLAGS, 2, local), 0x80010001);
    EXPECT_EQ(set(LIBSPDM_DATA_CAPABILITY_RTT_US, 8, local), 0U);
    EXPECT_EQ(set(LIBSPDM_DATA_CAPABILITY_RTT_US, 8, connection), 0x80010001);
    EXPECT_EQ(set(LIBSPDM_DATA_PEER_KEY_PAIR_ID, 1, connection), 0x80010002);
    EXPECT_EQ(set(static_cast<libspdm_data_type_t>(1), 1, local), 0x80010001);
}

TEST_F(Settings, eachHasItsPlaces)
{
    // By location, local and of the connection, the sizes that can be set, and
    // what is read into 8 bytes.
    std::string all;
    for (int item :
         {2, 3, 4, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 35, 36, 37})
    {
        const auto type = static_cast<libspdm_data_type_t>(item);
        all += std::to_string(item);
        for (int where : {0, 1})
        {
            const auto location = static_cast<libspdm_data_location_t>(where);
            std::string sizes;
            for (size_t size : {1, 2, 4, 8})
            {
                const bool isSet = set(type, size, location) == 0;
                sizes += isSet ? std::to_string(size) : "";
            }
            size_t told = 8;
            const bool isRead = get(type, told, location) == 0;
            sizes += isRead ? "r" + std::to_string(told) : "";
            all += sizes.empty() ? "" : std::string(" ") + "LC"[where] + sizes;
        }
        all += ",";
    }
    EXPECT_EQ(all, "2 L4r4 C4r4,3 L1r1 C1r1,4 L8,8 L1 C1r1,9 L4 C4r4,"
                   "10 L4 C4r4,11 L4 C4r4,12 L2 C2r2,13 L2 C2r2,14 L2 C2r2,"
                   "15 L2 C2r2,16 L1 C1r1,17 L1 C1r1,18 C4r4,35 Cr1,36 Cr1,"
                   "37 Cr2,");
}

TEST_F(Settings, readsTellTheSize)
{
    size_t size = 2;
    EXPECT_EQ(
        get(LIBSPDM_DATA_CAPABILITY_FLAGS, size, LIBSPDM_DATA_LOCATION_LOCAL),
        0x8001000d);
    EXPECT_EQ(size, 4U);
    size = 8;
    EXPECT_EQ(
        get(LIBSPDM_DATA_BASE_HASH_ALGO, size, LIBSPDM_DATA_LOCATION_LOCAL),
        0x80010001);
    EXPECT_EQ(get(LIBSPDM_DATA_BASE_HASH_ALGO, size,
                  LIBSPDM_DATA_LOCATION_CONNECTION),
              0U);
    EXPECT_EQ(size, 4U);
}

TEST_F(Settings, numbersOfItemsAreThoseOfRelease36)
{
    EXPECT_EQ(LIBSPDM_DATA_CAPABILITY_FLAGS, 2);
    EXPECT_EQ(LIBSPDM_DATA_MEASUREMENT_HASH_ALGO, 9);
    EXPECT_EQ(LIBSPDM_DATA_CONNECTION_STATE, 18);
    EXPECT_EQ(LIBSPDM_DATA_PEER_PUBLIC_ROOT_CERT, 21);
    EXPECT_EQ(LIBSPDM_DATA_PEER_KEY_PAIR_ID, 35);
    EXPECT_EQ(LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, 37);
    EXPECT_EQ(sizeof(libspdm_data_parameter_t), 8U);
}

} // namespace
