// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/spdm_device_secret_lib_sample/cert.hpp"

#include "io/common/spdm/Libspdm.hpp"
#include "io/common/src/File.hpp"
#include "io/common/src/Text.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <memory>
#include <new>
#include <source_location>

namespace mctp::spdm::cert
{

namespace
{

using io::text::cat;

/** What a text may take, with its end; a path's last place stays empty. */
constexpr std::size_t textSize = 256;

std::string directoryText;

struct FileOfAlgorithms
{
    uint32_t algorithms; //!< RSA: the two signature schemes of a key size
    const char* name;
};

constexpr std::array files{
    FileOfAlgorithms{0x001 | 0x002, "rsa2048/ca.cert.der"},
    FileOfAlgorithms{0x004 | 0x008, "rsa3072/ca.cert.der"},
    FileOfAlgorithms{0x020 | 0x040, "rsa4096/ca.cert.der"},
    FileOfAlgorithms{0x010, "ecp256/ca.cert.der"},
    FileOfAlgorithms{0x080, "ecp384/ca.cert.der"},
    FileOfAlgorithms{0x100, "ecp521/ca.cert.der"},
    FileOfAlgorithms{0x200, "sm2/ca.cert.der"},
    FileOfAlgorithms{0x400, "ed25519/ca.cert.der"},
    FileOfAlgorithms{0x800, "ed448/ca.cert.der"},
};

struct Content
{
    std::unique_ptr<uint8_t[]> bytes; //!< null when there was no memory
    std::size_t size{0};
};

/** @return what could not be done, empty when all was read */
std::string readFile(const std::string& path, Content& content)
{
    const io::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
    {
        return cat({"Unable to open file ", path, "\n"});
    }
    const off_t end = lseek(file.number(), 0, SEEK_END);
    if (end < 0)
    {
        return cat({"Unable to get the file size ", path, "\n"});
    }
    content.size = static_cast<std::size_t>(end);
    content.bytes.reset(new (std::nothrow) uint8_t[content.size]);
    if (content.bytes == nullptr)
    {
        return cat({"No sufficient memory to allocate ", path, "\n"});
    }
    if (pread(file.number(), content.bytes.get(), content.size, 0) != end)
    {
        return cat({"Read input file error ", path});
    }
    return "";
}

std::vector<uint8_t> makeChain(uint32_t hashAlgo, const Content& certificate)
{
    const std::size_t hashSize = libspdm_get_hash_size(hashAlgo);
    const std::size_t length = chainHeaderSize + hashSize + certificate.size;
    std::vector<uint8_t> chain(length, 0);
    // The length has 16 bits. Nothing reads it in a chain that stays here.
    chain[0] = static_cast<uint8_t>(length);
    chain[1] = static_cast<uint8_t>(length >> 8);
    std::copy_n(certificate.bytes.get(), certificate.size,
                chain.data() + chainHeaderSize + hashSize);
    if (!libspdm_hash_all(hashAlgo, certificate.bytes.get(), certificate.size,
                          chain.data() + chainHeaderSize))
    {
        chain.clear();
    }
    return chain;
}

} // namespace

void setDirectory(const std::string& directory)
{
    directoryText = directory.substr(0, textSize - 1);
    if (directory.size() >= textSize)
    {
        std::fputs("Failed to copy the new cert dir path.\n", stderr);
    }
}

const char* fileName(uint32_t asymAlgo)
{
    for (const FileOfAlgorithms& file : files)
    {
        if (std::has_single_bit(asymAlgo) && (file.algorithms & asymAlgo) != 0)
        {
            return file.name;
        }
    }
    return nullptr;
}

std::expected<std::vector<uint8_t>, std::string>
readRootCertChain(uint32_t hashAlgo, uint32_t asymAlgo)
{
    const char* const name = fileName(asymAlgo);
    if (name == nullptr)
    {
        const unsigned line = std::source_location::current().line();
        return std::unexpected(cat({"LIBSPDM_ASSERT: cert.cpp(",
                                    io::text::decimal(line), "): false\n"}));
    }
    const std::string path = cat({directoryText, "/", name});
    if (path.size() >= textSize)
    {
        return std::unexpected("");
    }
    Content certificate;
    std::string failure = readFile(path.substr(0, textSize - 2), certificate);
    if (!failure.empty())
    {
        return std::unexpected(std::move(failure));
    }
    std::vector<uint8_t> chain = makeChain(hashAlgo, certificate);
    if (chain.empty())
    {
        return std::unexpected("");
    }
    return chain;
}

} // namespace mctp::spdm::cert
