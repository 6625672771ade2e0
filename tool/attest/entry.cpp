// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Spdm.hpp"
#include "tool/attest/module.hpp"

#include <exception>

namespace
{

using mctp::spdm::SpdmLib;

/** Ends what the library holds, however the attestation ends. */
struct Session
{
    ~Session()
    {
        SpdmLib::uninitialize();
        // The connection must not outlive the I/O context that it is bound to.
        SpdmLib::connection.reset();
    }
};

bool run(const DbusConnPtr& bus, uint32_t address,
         const std::string& rootCertDir)
{
    const Session session;
    SpdmLib::connection = bus;
    return SpdmLib::initialize() == LIBSPDM_STATUS_SUCCESS &&
           SpdmLib::authenticateTarget(address, rootCertDir) ==
               LIBSPDM_STATUS_SUCCESS;
}

} // namespace

extern "C"
{
    /** See attest::versionSymbol. */
    [[gnu::visibility("default")]] extern const char zantricAttestVersion[];
    const char zantricAttestVersion[] = ATTEST_MODULE_VERSION;

    /** See attest::Entry. No exception leaves the module. */
    [[gnu::visibility("default")]] bool
    zantricAttest(const DbusConnPtr& bus, uint32_t address,
                  const std::string& rootCertDir, attest::Print print) noexcept
    {
        try
        {
            SpdmLib::print = print;
            return run(bus, address, rootCertDir);
        }
        catch (const std::exception& failure)
        {
            print("Attest Device: ");
            print(failure.what());
            print("\n");
            return false;
        }
    }

} // extern "C"
