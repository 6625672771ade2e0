// SPDX-License-Identifier: Apache-2.0
#include "test/io/spdm/spdm_fixture.hpp"
#include "tool/attest/module.hpp"

#include <utility>

using mctp::spdm::SpdmLib;

extern "C" bool zantricAttest(const DbusConnPtr& bus, uint32_t address,
                              const std::string& rootCertDir,
                              attest::Print print) noexcept;

namespace
{

using Module = SpdmTest;

// What is left of it would end after the I/O context that it is bound to.
TEST_F(Module, keepsNothingOfTheConnection)
{
    const DbusConnPtr bus = std::move(SpdmLib::connection);
    scripted.initContext = LIBSPDM_STATUS_CRYPTO_ERROR;
    bool proven = true;
    const Lines lines = journalOf(
        [&] {
            proven = zantricAttest(bus, echoAddress, "", [](auto) noexcept {});
        });
    EXPECT_EQ(lines.front(), "<3> [ERR] spdm init context failed");
    EXPECT_FALSE(proven);
    EXPECT_EQ(bus.use_count(), 1);
}

} // namespace
