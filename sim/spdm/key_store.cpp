// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/key_store.hpp"

#include "sim/spdm/bytes.hpp"

#include <fstream>
#include <stdexcept>

namespace sim::spdm
{

namespace
{

constexpr std::array curves{Curve::p256, Curve::p384};

/** The hash that certificates of this curve are signed with. */
Hash certificateHash(Curve curve)
{
    return curve == Curve::p256 ? Hash::sha256 : Hash::sha384;
}

const char* rootFolder(Curve curve)
{
    return curve == Curve::p256 ? "ecp256" : "ecp384";
}

void writeFile(const std::filesystem::path& path, const Bytes& data)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data.data()),
               static_cast<std::streamsize>(data.size()));
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + path.string());
    }
}

void writeRoot(const std::filesystem::path& folder, Curve curve,
               const Bytes& certificate)
{
    writeFile(folder / rootFolder(curve) / "ca.cert.der", certificate);
}

/** The signature is the last field, so its last byte is the certificate's. */
void spoilSignature(Bytes& certificate)
{
    certificate.back() ^= 0x01;
}

} // namespace

KeyStore::KeyStore(std::filesystem::path place) : folder(std::move(place))
{
    for (Curve curve : curves)
    {
        auto index = static_cast<size_t>(curve);
        own[index] = makeRoot(curve, "sim SPDM root");
        writeRoot(roots(), curve, own[index].certificate);
        foreign[index] = makeRoot(curve, "foreign SPDM root");
        writeRoot(foreignRoots(), curve, foreign[index].certificate);
    }
}

KeyStore::Authority KeyStore::makeRoot(Curve curve, const std::string& name)
{
    Authority root{.name = name, .key = generateKey(curve), .certificate = {}};
    root.certificate = issueCertificate({.subject = name,
                                         .issuer = name,
                                         .subjectKey = root.key,
                                         .issuerKey = root.key,
                                         .hash = certificateHash(curve),
                                         .serial = ++lastSerial});
    return root;
}

KeyStore::Authority KeyStore::makeIntermediate(Curve curve,
                                               const Authority& issuer,
                                               unsigned number)
{
    Authority made{.name = "sim SPDM CA " + std::to_string(number),
                   .key = generateKey(curve),
                   .certificate = {}};
    made.certificate = issueCertificate({.subject = made.name,
                                         .issuer = issuer.name,
                                         .subjectKey = made.key,
                                         .issuerKey = issuer.key,
                                         .hash = certificateHash(curve),
                                         .serial = ++lastSerial});
    return made;
}

Bytes KeyStore::makeLeaf(Curve curve, const Authority& issuer,
                         const SlotConfig& slot, const Key& key)
{
    return issueCertificate(
        {.subject = "sim SPDM slot " + std::to_string(slot.number),
         .issuer = issuer.name,
         .subjectKey = key,
         .issuerKey = issuer.key,
         .hash = certificateHash(curve),
         .serial = ++lastSerial,
         .role = CertRole::leaf,
         .expired = slot.defect == ChainDefect::expiredLeaf,
         .claimsAuthority = slot.defect == ChainDefect::leafIsAuthority,
         .withoutSigning = slot.defect == ChainDefect::noSigningUsage,
         .filler = slot.leafFiller});
}

std::vector<Bytes> KeyStore::issueChain(Curve curve, const SlotConfig& slot,
                                        const Key& leafKey)
{
    const auto& family =
        slot.defect == ChainDefect::foreignRoot ? foreign : own;
    Authority issuer = family[static_cast<size_t>(curve)];
    std::vector<Bytes> chain{issuer.certificate};
    for (unsigned i = 1; i <= slot.intermediates; i++)
    {
        issuer = makeIntermediate(curve, issuer, i);
        chain.push_back(issuer.certificate);
    }
    chain.push_back(makeLeaf(curve, issuer, slot, leafKey));
    if (slot.defect == ChainDefect::badSignature)
    {
        spoilSignature(chain[1]);
    }
    if (slot.defect == ChainDefect::truncatedLeaf)
    {
        chain.back().pop_back();
    }
    return chain;
}

Bytes packChain(Hash hash, const std::vector<Bytes>& certificates,
                ChainDefect defect)
{
    Bytes rootHash = digest(hash, certificates.front());
    if (defect == ChainDefect::wrongRootHash)
    {
        rootHash.front() ^= 0x01;
    }
    size_t size = headerSize + rootHash.size();
    for (const Bytes& certificate : certificates)
    {
        size += certificate.size();
    }
    Writer writer;
    writer.u16(static_cast<uint16_t>(size)).u16(0).bytes(rootHash);
    for (const Bytes& certificate : certificates)
    {
        writer.bytes(certificate);
    }
    return writer.take();
}

} // namespace sim::spdm
