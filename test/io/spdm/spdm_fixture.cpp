// SPDX-License-Identifier: Apache-2.0
#include "test/io/spdm/spdm_fixture.hpp"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

using mctp::spdm::SpdmLib;

namespace
{

Lines linesOf(std::istream& stream)
{
    Lines lines;
    for (std::string line; std::getline(stream, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

Lines journalOf(const std::function<void()>& body)
{
    // lg2 looks at it once, before main: it is the caller's to set.
    if (std::getenv("LG2_FORCE_STDERR") == nullptr)
    {
        throw std::logic_error("LG2_FORCE_STDERR is not set");
    }
    testing::internal::CaptureStderr();
    body();
    std::istringstream text(testing::internal::GetCapturedStderr());
    Lines records = linesOf(text);
    // A sanitizer has its say on the same stream.
    std::erase_if(records, [](const std::string& line)
                  { return !line.starts_with('<'); });
    return records;
}

Lines callsOf(const std::string& member)
{
    std::ifstream log(std::getenv("SIM_LOG"));
    Lines found;
    for (std::string& line : linesOf(log))
    {
        if (line.find('"' + member + '"') != std::string::npos)
        {
            found.push_back(std::move(line));
        }
    }
    return found;
}

void SpdmTest::SetUp()
{
    scripted = {};
    SpdmLib::connection = io::bus::connect();
    SpdmLib::print = [](std::string_view text)
    { std::fwrite(text.data(), 1, text.size(), stdout); };
}

void SpdmTest::TearDown()
{
    journalOf(SpdmLib::uninitialize);
    SpdmLib::connection.reset();
}

libspdm_return_t SpdmTest::attest(Lines& lines, const std::string& roots)
{
    libspdm_return_t status = 0;
    lines = journalOf(
        [&] { status = SpdmLib::authenticateTarget(echoAddress, roots); });
    return status;
}

void SpdmTest::negotiate(uint16_t version, uint32_t flags)
{
    journalOf([] { SpdmLib::initialize(); });
    scripted.calls.clear();
    scripted.peers[{LIBSPDM_DATA_SPDM_VERSION, 0}] = version;
    scripted.peers[{LIBSPDM_DATA_CAPABILITY_FLAGS, 0}] = flags;
    scripted.peers[{LIBSPDM_DATA_CONNECTION_STATE, 0}] =
        LIBSPDM_CONNECTION_STATE_NEGOTIATED;
    scripted.peers[{LIBSPDM_DATA_BASE_ASYM_ALGO, 0}] = 0x80;
    scripted.peers[{LIBSPDM_DATA_BASE_HASH_ALGO, 0}] = 2;
    scripted.peers[{LIBSPDM_DATA_MEASUREMENT_HASH_ALGO, 0}] = 4;
}
