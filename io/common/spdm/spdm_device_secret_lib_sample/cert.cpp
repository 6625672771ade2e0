// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/spdm_device_secret_lib_sample/cert.hpp"

#include "io/common/spdm/Libspdm.hpp"
#include "io/common/src/Text.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <new>
#include <source_location>
#include <span>

namespace mctp::spdm::cert
{

namespace
{

constexpr std::size_t textSize = 256;
/** What a path may take, with its end. */
constexpr std::size_t pathLimit = 255;

std::array<char, textSize> directoryText{};

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

struct CloseFile
{
    void operator()(std::FILE* file) const noexcept
    {
        std::fclose(file);
    }
};

using File = std::unique_ptr<std::FILE, CloseFile>;

struct Content
{
    std::unique_ptr<uint8_t[]> bytes; //!< null when there was no memory
    std::size_t size{0};
};

/** The size of an open file, which is left at its start. */
bool measure(std::FILE* file, std::size_t& size)
{
    if (std::fseek(file, 0, SEEK_END) != 0)
    {
        return false;
    }
    const long end = std::ftell(file);
    if (end < 0 || std::fseek(file, 0, SEEK_SET) != 0)
    {
        return false;
    }
    size = static_cast<std::size_t>(end);
    return true;
}

/** @return what could not be done, empty when all was read */
std::string readFile(const std::string& path, Content& content)
{
    using io::text::cat;
    const File file(std::fopen(path.c_str(), "rb"));
    if (file == nullptr)
    {
        return cat({"Unable to open file ", path, "\n"});
    }
    if (!measure(file.get(), content.size))
    {
        return cat({"Unable to get the file size ", path, "\n"});
    }
    content.bytes.reset(new (std::nothrow) uint8_t[content.size]);
    if (content.bytes == nullptr)
    {
        return cat({"No sufficient memory to allocate ", path, "\n"});
    }
    if (std::fread(content.bytes.get(), 1, content.size, file.get()) !=
        content.size)
    {
        return cat({"Read input file error ", path});
    }
    return "";
}

/** Join directory and file name; a path of 255 characters loses its last. */
bool makePath(const char* name, std::array<char, textSize>& path)
{
    const int length = std::snprintf(path.data(), pathLimit, "%s/%s",
                                     directoryText.data(), name);
    return length >= 0 && static_cast<std::size_t>(length) < textSize;
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
    const int length = std::snprintf(directoryText.data(), directoryText.size(),
                                     "%s", directory.c_str());
    if (length < 0 || static_cast<std::size_t>(length) >= directoryText.size())
    {
        std::fputs("Failed to copy the new cert dir path.\n", stderr);
    }
}

const char* fileName(uint32_t asymAlgo)
{
    for (const FileOfAlgorithms& file : files)
    {
        const bool oneBit = (asymAlgo & (asymAlgo - 1)) == 0;
        if (oneBit && (file.algorithms & asymAlgo) != 0)
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
        return std::unexpected(
            io::text::cat({"LIBSPDM_ASSERT: cert.cpp(", io::text::decimal(line),
                           "): false\n"}));
    }
    std::array<char, textSize> path{};
    if (!makePath(name, path))
    {
        return std::unexpected("");
    }
    Content certificate;
    std::string failure = readFile(path.data(), certificate);
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
