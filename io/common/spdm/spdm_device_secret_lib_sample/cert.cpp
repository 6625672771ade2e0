#include "io/common/spdm/spdm_device_secret_lib_sample/cert.hpp"

#include "io/common/spdm/Libspdm.hpp"
#include "io/common/src/Output.hpp"

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

bool readFile(const char* path, Content& content)
{
    const File file(std::fopen(path, "rb"));
    if (file == nullptr)
    {
        io::out::print("Unable to open file %s\n", path);
        return false;
    }
    if (!measure(file.get(), content.size))
    {
        io::out::print("Unable to get the file size %s\n", path);
        return false;
    }
    content.bytes.reset(new (std::nothrow) uint8_t[content.size]);
    if (content.bytes == nullptr)
    {
        io::out::print("No sufficient memory to allocate %s\n", path);
        return false;
    }
    if (std::fread(content.bytes.get(), 1, content.size, file.get()) !=
        content.size)
    {
        io::out::print("Read input file error %s", path);
        return false;
    }
    return true;
}

/** Join directory and file name; a path of 255 characters loses its last. */
bool makePath(const char* name, std::array<char, textSize>& path)
{
    const int length = std::snprintf(path.data(), pathLimit, "%s/%s",
                                     directoryText.data(), name);
    return length >= 0 && static_cast<std::size_t>(length) < textSize;
}

bool makeChain(uint32_t hashAlgo, const Content& certificate,
               std::vector<uint8_t>& chain)
{
    const std::size_t hashSize = libspdm_get_hash_size(hashAlgo);
    const std::size_t length = chainHeaderSize + hashSize + certificate.size;
    chain.assign(length, 0);
    // The length has 16 bits. Nothing reads it in a chain that stays here.
    chain[0] = static_cast<uint8_t>(length);
    chain[1] = static_cast<uint8_t>(length >> 8);
    std::copy_n(certificate.bytes.get(), certificate.size,
                chain.data() + chainHeaderSize + hashSize);
    return libspdm_hash_all(hashAlgo, certificate.bytes.get(), certificate.size,
                            chain.data() + chainHeaderSize);
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

bool readRootCertChain(uint32_t hashAlgo, uint32_t asymAlgo,
                       std::vector<uint8_t>& chain)
{
    const char* const name = fileName(asymAlgo);
    if (name == nullptr)
    {
        io::out::print("LIBSPDM_ASSERT: %s(%zu): %s\n", "cert.cpp",
                       std::size_t{std::source_location::current().line()},
                       "false");
        return false;
    }
    std::array<char, textSize> path{};
    Content certificate;
    return makePath(name, path) && readFile(path.data(), certificate) &&
           makeChain(hashAlgo, certificate, chain);
}

} // namespace mctp::spdm::cert
