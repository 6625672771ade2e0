// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/spdm_device_secret_lib_sample/cert.hpp"
#include "test/io/spdm/spdm_fixture.hpp"
#include "test/support.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>

using mctp::spdm::SpdmLib;
namespace cert = mctp::spdm::cert;
namespace fs = std::filesystem;

namespace
{

void put(const fs::path& file, const std::string& text)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

std::string contentOf(const fs::path& file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/** Each test has /tmp to itself, with no marker file in it. */
class Certificates : public SpdmTest
{
  protected:
    void TearDown() override
    {
        SpdmTest::TearDown();
        for (const char* name : {"/tmp/save_cert", "/tmp/ignore_cert_check",
                                 "/tmp/certchain.bin", "/tmp/roots"})
        {
            fs::remove_all(name);
        }
    }

    static bool verify(Lines& lines)
    {
        const void* anchor = nullptr;
        size_t anchorSize = 0;
        bool verdict = false;
        const std::string chain = "chain";
        lines = journalOf(
            [&]
            {
                verdict = SpdmLib::verifyRemoteCertChain(
                    nullptr, 0, chain.size(), chain.data(), &anchor,
                    &anchorSize);
            });
        return verdict;
    }
};

constexpr const char* badIntegrity =
    "<3> [ERR] Cert-chain (SZ=5) intergrity check failed.";
constexpr const char* badAuthority =
    "<3> [ERR] Cert-chain (SZ=5) authority check failed.";
constexpr const char* saved = "<6> Cert-chain saved to /tmp/certchain.bin";
constexpr const char* ignored = "<6> Ignore cert-chain check";

TEST_F(Certificates, bothChecksMustPass)
{
    Lines lines;
    EXPECT_TRUE(verify(lines));
    EXPECT_EQ(lines, Lines{});
    scripted.authority = false;
    EXPECT_FALSE(verify(lines));
    EXPECT_EQ(lines, Lines{badAuthority});
    scripted.calls.clear();
    scripted.integrity = false;
    EXPECT_FALSE(verify(lines));
    EXPECT_EQ(lines, Lines{badIntegrity});
    EXPECT_EQ(scripted.calls, Lines{"integrity"});
}

TEST_F(Certificates, theIgnoreMarkerChangesTheVerdictOnly)
{
    put("/tmp/ignore_cert_check", "");
    Lines lines;
    EXPECT_TRUE(verify(lines));
    EXPECT_EQ(lines, Lines{ignored});
    scripted.integrity = false;
    scripted.authority = false;
    EXPECT_TRUE(verify(lines));
    EXPECT_EQ(lines, (Lines{badIntegrity, badAuthority, ignored}));
}

TEST_F(Certificates, bothMarkersSaveFirst)
{
    put("/tmp/ignore_cert_check", "");
    put("/tmp/save_cert", "");
    scripted.integrity = false;
    Lines lines;
    EXPECT_TRUE(verify(lines));
    EXPECT_EQ(lines, (Lines{saved, badIntegrity, ignored}));
    EXPECT_EQ(contentOf("/tmp/certchain.bin"), "chain");
}

TEST_F(Certificates, eachAlgorithmHasItsFile)
{
    constexpr std::array<std::pair<uint32_t, const char*>, 12> table{
        {{0x1, "rsa2048/ca.cert.der"},
         {0x2, "rsa2048/ca.cert.der"},
         {0x4, "rsa3072/ca.cert.der"},
         {0x8, "rsa3072/ca.cert.der"},
         {0x10, "ecp256/ca.cert.der"},
         {0x20, "rsa4096/ca.cert.der"},
         {0x40, "rsa4096/ca.cert.der"},
         {0x80, "ecp384/ca.cert.der"},
         {0x100, "ecp521/ca.cert.der"},
         {0x200, "sm2/ca.cert.der"},
         {0x400, "ed25519/ca.cert.der"},
         {0x800, "ed448/ca.cert.der"}}};
    for (const auto& [algorithm, name] : table)
    {
        EXPECT_STREQ(cert::fileName(algorithm), name) << algorithm;
    }
    for (uint32_t algorithm : {0U, 0x3U, 0x81U, 0x1000U, 0xFFFFFFFFU})
    {
        EXPECT_EQ(cert::fileName(algorithm), nullptr) << algorithm;
    }
}

TEST_F(Certificates, anUnknownAlgorithmIsAnAssertion)
{
    negotiate(0x1200);
    scripted.peers[{LIBSPDM_DATA_BASE_ASYM_ALGO, 0}] = 0x1000;
    Lines lines;
    libspdm_return_t status = 0;
    const std::string printed =
        printedBy([&] { status = attest(lines, "/tmp/roots"); });
    EXPECT_EQ(status, 0x80030000U);
    EXPECT_TRUE(printed.starts_with("LIBSPDM_ASSERT: cert.cpp(")) << printed;
    EXPECT_TRUE(printed.ends_with("): false\n")) << printed;
}

TEST_F(Certificates, aRootThatTheLibraryRefusesEndsTheRun)
{
    put("/tmp/roots/ecp384/ca.cert.der", "root!");
    negotiate(0x1200);
    scripted.setRoot = 0x80010009;
    Lines lines;
    EXPECT_EQ(attest(lines, "/tmp/roots"), 0x80010009U);
    EXPECT_EQ(lines.back(), "<3> [ERR] Failed to set the root certificate. rc "
                            "= 0x80010009");
    EXPECT_EQ(scripted.calls,
              (Lines{"init_connection 0", "certificate of chain 0"}));
}

TEST_F(Certificates, theRootIsHandedToTheLibrary)
{
    put("/tmp/roots/ecp384/ca.cert.der", "root!");
    negotiate(0x1200);
    scripted.settings.clear();
    Lines lines;
    EXPECT_EQ(attest(lines, "/tmp/roots"), 0U);
    EXPECT_EQ(lines[1], "<6> Read peer cert-chain from file");
    EXPECT_EQ(lines[2], "<6> Get root cert from cert-chain");
    ASSERT_EQ(scripted.settings.size(), 1U);
    const Scripted::Setting& set = scripted.settings.front();
    EXPECT_EQ(set.item, LIBSPDM_DATA_PEER_PUBLIC_ROOT_CERT);
    EXPECT_EQ(set.location, LIBSPDM_DATA_LOCATION_LOCAL);
    ASSERT_EQ(set.size, 5U);
    // The library keeps the pointer: the bytes must still be there.
    EXPECT_EQ(std::string(static_cast<const char*>(set.data), set.size),
              "root!");
}

TEST_F(Certificates, aChainOfOneHasHeaderHashAndCertificate)
{
    put("/tmp/roots/ecp256/ca.cert.der", std::string(300, 'c'));
    cert::setDirectory("/tmp/roots");
    const auto read = cert::readRootCertChain(1, 0x10);
    ASSERT_TRUE(read);
    const std::vector<uint8_t>& chain = *read;
    ASSERT_EQ(chain.size(), 4U + 32U + 300U);
    EXPECT_EQ(std::vector(chain.begin(), chain.begin() + 4),
              (std::vector<uint8_t>{0x50, 0x01, 0, 0}));
    EXPECT_EQ(std::count(chain.begin() + 4, chain.begin() + 36, 0xAA), 32);
    EXPECT_EQ(std::count(chain.begin() + 36, chain.end(), 'c'), 300);
}

TEST_F(Certificates, aCertificateThatCannotBeHashed)
{
    put("/tmp/roots/ecp384/ca.cert.der", "root!");
    negotiate(0x1200);
    scripted.hash = false;
    Lines lines;
    EXPECT_EQ(attest(lines, "/tmp/roots"), 0x80030000U);
    EXPECT_EQ(lines.back(), "<3> [ERR] libspdm_read_responder_root_public_"
                            "certificate failed");
}

TEST_F(Certificates, aMissingFileEndsTheAttestation)
{
    negotiate(0x1200);
    Lines lines;
    libspdm_return_t status = 0;
    EXPECT_EQ(printedBy([&] { status = attest(lines, "/nowhere"); }),
              "Unable to open file /nowhere/ecp384/ca.cert.der\n");
    EXPECT_EQ(status, 0x80030000U);
    EXPECT_EQ(lines.back(), "<3> [ERR] libspdm_read_responder_root_public_"
                            "certificate failed");
}

TEST_F(Certificates, aFileThatIsNoCertificate)
{
    put("/tmp/roots/ecp384/ca.cert.der", "");
    negotiate(0x1200);
    scripted.certificateFound = false;
    Lines lines;
    EXPECT_EQ(attest(lines, "/tmp/roots"), 0x80030000U);
    EXPECT_EQ(lines.back(),
              "<3> [ERR] libspdm_x509_get_cert_from_cert_chain failed");
}

TEST_F(Certificates, aFileThatCannotBeMeasured)
{
    fs::create_directories("/tmp/roots/ecp384");
    // A pipe has no end to seek to. Held open, so that opening it goes on.
    ASSERT_EQ(mkfifo("/tmp/roots/ecp384/ca.cert.der", 0600), 0);
    std::fstream holder("/tmp/roots/ecp384/ca.cert.der");
    cert::setDirectory("/tmp/roots");
    const auto read = cert::readRootCertChain(2, 0x80);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error(),
              "Unable to get the file size /tmp/roots/ecp384/ca.cert.der\n");
}

TEST_F(Certificates, aFileThatIsLargerThanAllMemory)
{
    put("/tmp/roots/ecp384/ca.cert.der", "");
    // More than a process has addresses; on the storage it takes no place.
    fs::resize_file("/tmp/roots/ecp384/ca.cert.der", uintmax_t{1} << 60);
    cert::setDirectory("/tmp/roots");
    const auto read = cert::readRootCertChain(2, 0x80);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error(), "No sufficient memory to allocate "
                            "/tmp/roots/ecp384/ca.cert.der\n");
}

TEST_F(Certificates, aFileThatEndsEarly)
{
    // It says that it has a page, and has less.
    fs::create_directories("/tmp/roots/ecp384");
    fs::create_symlink("/sys/kernel/mm/transparent_hugepage/enabled",
                       "/tmp/roots/ecp384/ca.cert.der");
    cert::setDirectory("/tmp/roots");
    const auto read = cert::readRootCertChain(2, 0x80);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error(),
              "Read input file error /tmp/roots/ecp384/ca.cert.der");
}

} // namespace
