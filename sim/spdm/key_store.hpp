// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/certificate.hpp"
#include "sim/spdm/config.hpp"

#include <array>
#include <filesystem>

namespace sim::spdm
{

/**
 * The certificate authorities of the simulated devices, made anew each time.
 *
 * The root certificates are written under a folder as a directory of peer root
 * certificates: "ecp256/ca.cert.der" and "ecp384/ca.cert.der". The folder
 * "foreign" in it is such a directory too, of roots that signed nothing but
 * the chains with the defect of a foreign root.
 */
class KeyStore
{
  public:
    /**
     * Makes the roots and writes their certificates; makes folders as needed.
     * Throws std::runtime_error if a file cannot be written and
     * std::filesystem::filesystem_error for a folder.
     */
    explicit KeyStore(std::filesystem::path folder);

    /** The directory of root certificates. */
    [[nodiscard]] const std::filesystem::path& roots() const
    {
        return folder;
    }

    /** The directory of the roots that vouch for no device. */
    [[nodiscard]] std::filesystem::path foreignRoots() const
    {
        return folder / "foreign";
    }

    /** DER certificates from the root to the leaf for the slot's key. */
    std::vector<Bytes> issueChain(Curve curve, const SlotConfig& slot,
                                  const Key& leafKey);

  private:
    struct Authority
    {
        std::string name;
        Key key;
        Bytes certificate;
    };

    Authority makeRoot(Curve curve, const std::string& name);
    Authority makeIntermediate(Curve curve, const Authority& issuer,
                               unsigned number);
    Bytes makeLeaf(Curve curve, const Authority& issuer, const SlotConfig& slot,
                   const Key& key);

    std::filesystem::path folder;
    uint64_t lastSerial = 0;
    /** By curve. */
    std::array<Authority, 2> own;
    std::array<Authority, 2> foreign;
};

/**
 * The certificate chain of a slot as SPDM transfers it: its length, two
 * reserved bytes, the hash of the root certificate, the certificates.
 */
Bytes packChain(Hash hash, const std::vector<Bytes>& certificates,
                ChainDefect defect);

} // namespace sim::spdm
