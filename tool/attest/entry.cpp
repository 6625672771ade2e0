#include "io/common/spdm/Spdm.hpp"
#include "io/common/src/Options.hpp"
#include "io/common/src/Output.hpp"

#include <exception>

namespace
{

using mctp::spdm::SpdmLib;

/** The library for as long as an attestation takes. */
struct Session
{
    explicit Session(const DbusConnPtr& bus)
    {
        SpdmLib::connection = bus;
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    Session(Session&&) = delete;
    Session& operator=(Session&&) = delete;

    ~Session()
    {
        SpdmLib::uninitialize();
        // The connection must not outlive the I/O context that it is bound to.
        SpdmLib::connection.reset();
    }
};

bool run(const DbusConnPtr& bus, const Options& options)
{
    const Session session(bus);
    return SpdmLib::initialize() == LIBSPDM_STATUS_SUCCESS &&
           SpdmLib::authenticateTarget(options.address, options.file) ==
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
    zantricAttest(const DbusConnPtr& bus, const Options& options) noexcept
    {
        try
        {
            return run(bus, options);
        }
        catch (const std::exception& failure)
        {
            io::out::line({"Attest Device: ", failure.what()});
            return false;
        }
    }

} // extern "C"
