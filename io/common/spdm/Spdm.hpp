// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/spdm/Libspdm.hpp"
#include "io/common/spdm/UdsSocket.hpp"
#include "io/common/src/Bus.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace mctp::spdm
{

/** Memory from malloc(3). */
using HeapBlock = std::unique_ptr<void, decltype(&std::free)>;

/** What the peers agreed on: the library's numbers (DSP0274). */
struct Negotiated
{
    uint16_t version{0}; //!< major in bits 12-15, minor in 8-11
    uint32_t state{0};   //!< libspdm_connection_state_t
    uint32_t baseAsymAlgo{0};
    uint32_t baseHashAlgo{0};
    uint32_t measurementHashAlgo{0};
};

/** Slot number to what its key may be used for (DSP0274, KeyUsageMask). */
using KeyUsageMap = std::map<uint8_t, uint16_t>;

/** The SPDM requester: libspdm, and the way to a device over MCTP on D-Bus.
 *
 *  State and functions are static: a run attests one device. Results are
 *  libspdm's status codes, 0 for success; what went wrong is in the journal.
 */
class SpdmLib
{
  public:
    /** Set by the caller before initialize(). */
    inline static DbusConnPtr connection;

    /** Takes text for standard output; the caller may set it. */
    inline static void (*print)(std::string_view text) = [](std::string_view) {
    };

    /** Make a context and configure it; an existing one is configured anew.
     *
     *  When there is no memory for the scratch buffer the result is success
     *  without a context, which authenticateTarget() then reports.
     */
    static libspdm_return_t initialize();

    /** Close the socket and free the context. May be called at any time. */
    static void uninitialize();

    /** Authenticate a device and report its measurements in the journal.
     *
     *  @param address as the MCTP routing tables have it
     *  @param rootCertDir folder with one root certificate per algorithm;
     *         empty to trust the root that the device shows
     *  @return 0; LIBSPDM_STATUS_INVALID_PARAMETER without a context, a
     *          connection or an endpoint; LIBSPDM_STATUS_NEGOTIATION_FAIL;
     *          LIBSPDM_STATUS_INVALID_CERT when the root certificate could not
     *          be loaded; or the status of the library's call that failed
     */
    static libspdm_return_t authenticateTarget(uint32_t address,
                                               std::string rootCertDir);

    /** The services that have MCTP endpoints, in the object mapper's order.
     *
     *  Empty, with an error record, when the mapper failed.
     */
    static std::vector<std::string> getMCTPServices();

    /** Find the first endpoint with exactly this address.
     *
     *  @return false when there is none or, with an error record, when the
     *          routing table could not be read
     */
    static bool findEndpoint(const std::string& service, uint32_t address,
                             uint8_t& eid);

    /** The library's send callback: exchange the message for its response.
     *
     *  The response waits in the socket until the library asks for it.
     *
     *  @param timeout microseconds
     *  @return 0 or LIBSPDM_STATUS_SEND_FAIL
     */
    static libspdm_return_t spdmSendMessage(void* context, size_t size,
                                            const void* message,
                                            uint64_t timeout);

    /** One exchange with an endpoint by its MCTP daemon.
     *
     *  @param request,response encoded MCTP messages, with the type byte
     *  @return 0, or -1 with an error record
     */
    static int sendRecvMctpMsg(uint8_t eid, std::vector<unsigned char>& request,
                               std::vector<unsigned char>& response,
                               uint16_t timeoutMs);

    /** The library's receive callback.
     *
     *  @param[in] size capacity of the buffer. The received length is not
     *         written back: the library takes each response's length from its
     *         fields and rejects the zeros that a lost one leaves.
     *  @param timeout microseconds
     *  @return 0, also when nothing came in time, or
     * LIBSPDM_STATUS_RECEIVE_FAIL
     */
    static libspdm_return_t spdmReceiveMessage(void* context, size_t* size,
                                               void** message,
                                               uint64_t timeout);

    /** The library's verdict callback for every certificate chain it gets.
     *
     *  Two files change what it does: with /tmp/save_cert the chain is written
     *  to /tmp/certchain.bin, with /tmp/ignore_cert_check every chain passes.
     *
     *  @param chain with the header of DSP0274
     *  @param[out] trustAnchor the root that vouches for the chain
     */
    static bool verifyRemoteCertChain(void* context, uint8_t slot, size_t size,
                                      const void* chain,
                                      const void** trustAnchor,
                                      size_t* trustAnchorSize);

  private:
    static libspdm_return_t setUpContext();
    static void leaveContext();
    static bool setUpScratchBuffer();
    static bool lookUpTarget(uint32_t address);
    static Negotiated readNegotiated();
    static libspdm_return_t authenticateSlots(const Negotiated& negotiated,
                                              const std::string& rootCertDir);
    static libspdm_return_t loadRootCert(const std::string& directory,
                                         const Negotiated& negotiated);
    static libspdm_return_t readSlots(const Negotiated& negotiated,
                                      KeyUsageMap& slots);
    static libspdm_return_t attestSlots(const KeyUsageMap& slots);
    static libspdm_return_t readCertificate(uint8_t slot);
    static libspdm_return_t challenge(uint8_t slot);

    inline static HeapBlock context{nullptr, std::free};
    /** Whether the library has put something into the context. */
    inline static bool contextInUse{false};
    inline static HeapBlock scratchBuffer{nullptr, std::free};
    inline static uint8_t targetEid{0};
    inline static std::string mctpService; //!< empty: that of MCTP over PCIe
    inline static uint32_t responderFlags{0};
    /** The library keeps a pointer into it. */
    inline static std::vector<uint8_t> rootCertChain;
    inline static UdsSocket socket;
};

} // namespace mctp::spdm
