// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Spdm.hpp"
#include "io/common/spdm/spdm_device_secret_lib_sample/cert.hpp"
#include "io/common/src/File.hpp"

#include <unistd.h>

#include <phosphor-logging/lg2.hpp>

#include <system_error>

namespace mctp::spdm
{

namespace
{

constexpr const char* saveMarker = "/tmp/save_cert";
constexpr const char* ignoreMarker = "/tmp/ignore_cert_check";

bool exists(const char* path)
{
    return access(path, F_OK) == 0;
}

void saveChain(const void* chain, size_t size)
{
    try
    {
        io::replaceFile("/tmp/certchain.bin",
                        {static_cast<const char*>(chain), size});
        lg2::info("Cert-chain saved to /tmp/certchain.bin");
    }
    catch (const std::system_error& failure)
    {
        lg2::error("[ERR] Failed to save cert-chain to /tmp/certchain.bin. {E}",
                   "E", failure.code().message());
    }
}

} // namespace

bool SpdmLib::verifyRemoteCertChain(void* spdm, uint8_t /*slot*/, size_t size,
                                    const void* chain, const void** trustAnchor,
                                    size_t* trustAnchorSize)
{
    if (exists(saveMarker))
    {
        saveChain(chain, size);
    }
    const bool ignore = exists(ignoreMarker);
    auto* const peers = static_cast<libspdm_context_t*>(spdm);
    if (!libspdm_verify_peer_cert_chain_buffer_integrity(peers, chain, size))
    {
        lg2::error("[ERR] Cert-chain (SZ={S}) intergrity check failed.", "S",
                   size);
        if (!ignore)
        {
            return false;
        }
    }
    const bool trusted = libspdm_verify_peer_cert_chain_buffer_authority(
        peers, chain, size, trustAnchor, trustAnchorSize);
    if (!trusted)
    {
        lg2::error("[ERR] Cert-chain (SZ={S}) authority check failed.", "S",
                   size);
    }
    if (ignore)
    {
        lg2::info("Ignore cert-chain check");
        return true;
    }
    return trusted;
}

libspdm_return_t SpdmLib::loadRootCert(const std::string& directory,
                                       const Negotiated& negotiated)
{
    cert::setDirectory(directory);
    lg2::info("Read peer cert-chain from file");
    auto read = cert::readRootCertChain(negotiated.baseHashAlgo,
                                        negotiated.baseAsymAlgo);
    if (!read)
    {
        print(read.error());
        lg2::error(
            "[ERR] libspdm_read_responder_root_public_certificate failed");
        return LIBSPDM_STATUS_INVALID_CERT;
    }
    rootCertChain = std::move(*read);
    lg2::info("Get root cert from cert-chain");
    const size_t headerSize =
        cert::chainHeaderSize + libspdm_get_hash_size(negotiated.baseHashAlgo);
    const auto certificates =
        std::span<const uint8_t>(rootCertChain).subspan(headerSize);
    const uint8_t* rootCert = nullptr;
    size_t rootCertSize = 0;
    if (!libspdm_x509_get_cert_from_cert_chain(certificates.data(),
                                               certificates.size(), 0,
                                               &rootCert, &rootCertSize))
    {
        lg2::error("[ERR] libspdm_x509_get_cert_from_cert_chain failed");
        return LIBSPDM_STATUS_INVALID_CERT;
    }
    libspdm_data_parameter_t parameter{};
    parameter.location = LIBSPDM_DATA_LOCATION_LOCAL;
    // The library wants a pointer to something that may be written to.
    const size_t offset = static_cast<size_t>(rootCert - rootCertChain.data());
    const libspdm_return_t status = libspdm_set_data(
        context.get(), LIBSPDM_DATA_PEER_PUBLIC_ROOT_CERT, &parameter,
        rootCertChain.data() + offset, rootCertSize);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        // Without a root the library would ask for none.
        lg2::error("[ERR] Failed to set the root certificate. rc = {R}", "R",
                   lg2::hex, status);
    }
    return status;
}

} // namespace mctp::spdm
