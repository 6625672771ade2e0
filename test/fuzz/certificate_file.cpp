// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Libspdm.hpp"
#include "io/common/spdm/Spdm.hpp"
#include "io/common/spdm/spdm_device_secret_lib_sample/cert.hpp"
#include "target.hpp"
#include "test/scratch_dir.hpp"

#include <fstream>

using mctp::spdm::SpdmLib;

namespace
{

// DSP0274: SHA-384 and ECDSA P-384.
constexpr uint32_t sha384 = 0x02;
constexpr uint32_t ecdsaP384 = 0x80;

/** A folder of root certificates, one of which a run puts there. */
class RootFolder
{
  public:
    RootFolder()
    {
        std::filesystem::create_directory(folder.path() / "ecp384");
        mctp::spdm::cert::setDirectory(folder.path());
    }

    void put(const std::string& certificate)
    {
        std::ofstream file(folder.path() / "ecp384/ca.cert.der",
                           std::ios::binary | std::ios::trunc);
        file << certificate << std::flush;
        fuzz::require(file.good(), "the file can be made");
    }

  private:
    ScratchDir folder;
};

/** A library context whose peer has these algorithms. */
class Context
{
  public:
    Context() : memory(libspdm_get_context_size())
    {
        libspdm_init_context(memory.data());
        set(LIBSPDM_DATA_BASE_HASH_ALGO, sha384);
        set(LIBSPDM_DATA_BASE_ASYM_ALGO, ecdsaP384);
    }

    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    ~Context()
    {
        libspdm_deinit_context(memory.data());
    }

    void* get()
    {
        return memory.data();
    }

  private:
    void set(libspdm_data_type_t item, uint32_t value)
    {
        libspdm_data_parameter_t parameter{};
        parameter.location = LIBSPDM_DATA_LOCATION_CONNECTION;
        libspdm_set_data(memory.data(), item, &parameter, &value,
                         sizeof(value));
    }

    std::vector<uint8_t> memory;
};

/** The first certificate lies within the file, if there is one. */
void findRoot(const std::vector<uint8_t>& chain)
{
    const std::size_t header =
        mctp::spdm::cert::chainHeaderSize + libspdm_get_hash_size(sha384);
    const uint8_t* certificate = nullptr;
    std::size_t size = 0;
    if (!libspdm_x509_get_cert_from_cert_chain(chain.data() + header,
                                               chain.size() - header, 0,
                                               &certificate, &size))
    {
        return;
    }
    fuzz::require(certificate >= chain.data() + header &&
                      certificate + size <= chain.data() + chain.size(),
                  "a certificate lies within its file");
}

void verify(const std::vector<uint8_t>& chain)
{
    Context context;
    const void* anchor = nullptr;
    std::size_t anchorSize = 0;
    std::vector<uint8_t> before;
    before.assign(chain.begin(), chain.end());
    SpdmLib::verifyRemoteCertChain(context.get(), 0, chain.size(), chain.data(),
                                   &anchor, &anchorSize);
    fuzz::require(chain == before, "looking changes nothing");
}

} // namespace

/** A root certificate's file: read, searched for its first certificate, and
 *  taken for the chain that a device sends. */
void fuzz::target(Input input)
{
    static RootFolder roots;
    roots.put(textOf(input));
    const auto chain = mctp::spdm::cert::readRootCertChain(sha384, ecdsaP384);
    if (!chain)
    {
        return;
    }
    require(chain->size() == mctp::spdm::cert::chainHeaderSize +
                                 libspdm_get_hash_size(sha384) + input.size(),
            "the chain holds the file");
    findRoot(*chain);
    verify(*chain);
    verify({input.begin(), input.end()});
}
