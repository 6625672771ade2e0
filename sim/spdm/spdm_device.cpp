// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/device.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <thread>

// spdm-device CONFIG.json KEY-FOLDER
//
// One simulated device on standard input and output. A message is its length,
// four bytes little endian, then its bytes, MCTP message type first. Each
// message read is answered by one written; length 0xffffffff says that the
// device does not answer. The root certificates are left in KEY-FOLDER.

namespace
{

using sim::spdm::Bytes;

constexpr uint32_t noAnswer = 0xffffffff;
constexpr uint32_t longestMessage = 1U << 20;

bool readAll(void* to, size_t size)
{
    // An empty message has no memory that could be handed over.
    return size == 0 || std::fread(to, 1, size, stdin) == size;
}

bool readMessage(Bytes& message)
{
    std::array<uint8_t, 4> prefix{};
    if (!readAll(prefix.data(), prefix.size()))
    {
        return false;
    }
    uint32_t size = prefix[0] | uint32_t{prefix[1]} << 8 |
                    uint32_t{prefix[2]} << 16 | uint32_t{prefix[3]} << 24;
    if (size > longestMessage)
    {
        return false;
    }
    message.resize(size);
    return readAll(message.data(), size);
}

bool writeMessage(const std::optional<Bytes>& message)
{
    uint32_t size = message ? static_cast<uint32_t>(message->size()) : noAnswer;
    std::array<uint8_t, 4> prefix{
        static_cast<uint8_t>(size), static_cast<uint8_t>(size >> 8),
        static_cast<uint8_t>(size >> 16), static_cast<uint8_t>(size >> 24)};
    bool written =
        std::fwrite(prefix.data(), 1, prefix.size(), stdout) == prefix.size();
    if (message && !message->empty())
    {
        written = std::fwrite(message->data(), 1, message->size(), stdout) ==
                      message->size() &&
                  written;
    }
    return std::fflush(stdout) == 0 && written;
}

int serve(sim::spdm::Device& device)
{
    Bytes request;
    while (readMessage(request))
    {
        std::optional<Bytes> answer = device.handle(request);
        // The device that is simulated may be a slow one.
        std::this_thread::sleep_for(device.delay());
        if (!writeMessage(answer))
        {
            return EXIT_FAILURE;
        }
    }
    return std::feof(stdin) != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int run(const char* configFile, const char* keyFolder)
{
    std::ifstream file(configFile);
    sim::spdm::DeviceConfig config =
        sim::spdm::parseDeviceConfig(sim::Json::parse(file));
    sim::spdm::KeyStore store(keyFolder);
    sim::spdm::Device device(std::move(config), store);
    return serve(device);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fputs("usage: spdm-device CONFIG.json KEY-FOLDER\n", stderr);
        return EXIT_FAILURE;
    }
    try
    {
        return run(argv[1], argv[2]);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "spdm-device: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
