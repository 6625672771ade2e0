// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace spdm_test
{

/** Runs spdm-device, named by the build, with a configuration and input. */
class FrontTest : public testing::Test
{
  protected:
    static void write(const std::filesystem::path& path, const Bytes& data)
    {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(data.data()),
                   static_cast<std::streamsize>(data.size()));
    }

    int run(const std::string& json, const Bytes& input)
    {
        write(folder / "config", Bytes(json.begin(), json.end()));
        write(folder / "input", input);
        std::string in = folder.string();
        // Meson names the emulator that a foreign program needs.
        const char* emulator = std::getenv("MESON_EXE_WRAPPER");
        std::string command = std::string(emulator != nullptr ? emulator : "") +
                              " " SPDM_DEVICE " " + in + "/config " + in +
                              "/keys < " + in + "/input > " + in +
                              "/output 2> " + in + "/errors";
        // The words are the build's and the fixture's own.
        return std::system(command.c_str()); // NOLINT(cert-env33-c)
    }

    [[nodiscard]] Bytes output() const
    {
        return readFile(folder / "output");
    }

    [[nodiscard]] std::string errors() const
    {
        Bytes text = readFile(folder / "errors");
        return {text.begin(), text.end()};
    }

    void SetUp() override
    {
        folder = keyStore().roots() / "front";
        std::filesystem::create_directories(folder);
    }

    std::filesystem::path folder;
};

TEST_F(FrontTest, answersEachMessage)
{
    Bytes input = hex("05000000 0510840000" // GET_VERSION
                      "01000000 07"         // no SPDM
                      "05000000 0510840000" // empty by a fault
                      "05000000 0512810000");
    EXPECT_EQ(run(R"({"versions": ["1.2"], "faults": [{"at": "GET_VERSION",
                      "nth": 2, "kind": "empty"}]})",
                  input),
              0);
    EXPECT_EQ(output(), hex("09000000 0510040000 00 01 0012"
                            "ffffffff"
                            "00000000"
                            "05000000 05107f0400"));
    EXPECT_TRUE(exists(folder / "keys" / "ecp384" / "ca.cert.der"));
}

TEST_F(FrontTest, endsWithHalfAMessage)
{
    EXPECT_EQ(run("{}", hex("05000000 0510")), 0);
    EXPECT_EQ(output(), Bytes{});
    EXPECT_NE(run("{}", hex("ffffffff 0510")), 0);
}

TEST_F(FrontTest, saysWhatIsWrong)
{
    EXPECT_NE(run(R"({"slot": 1})", {}), 0);
    EXPECT_TRUE(errors().starts_with("spdm-device: device/slot: is none of "))
        << errors();
    EXPECT_NE(run("{", {}), 0);
    EXPECT_NE(errors(), "");
}

} // namespace spdm_test
