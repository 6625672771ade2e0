// SPDX-License-Identifier: Apache-2.0
#include "in_process.hpp"

using mctp::spdm::SpdmLib;

namespace
{

in_process::Responder* current = nullptr;

} // namespace

namespace in_process
{

nlohmann::json configOf(const std::string& version)
{
    auto config = nlohmann::json::parse(R"({
        "capabilities": {"multiKey": "none"},
        "slots": [{"slot": 0, "intermediates": 1, "keyUsage": 6}],
        "measurements": [
            {"index": 1, "type": 1, "value": "00112233", "size": 48},
            {"index": 2, "type": 131, "value": "44556677"}]})");
    config["versions"] = {version};
    if (version == "1.3")
    {
        config["capabilities"]["multiKey"] = "negotiable";
    }
    return config;
}

libspdm_return_t attest(Responder& responder, const std::string& roots)
{
    current = &responder;
    libspdm_return_t status = SpdmLib::initialize();
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = SpdmLib::authenticateTarget(address, roots);
    }
    SpdmLib::uninitialize();
    return status;
}

} // namespace in_process

int SpdmLib::sendRecvMctpMsg(uint8_t /*eid*/,
                             std::vector<unsigned char>& request,
                             std::vector<unsigned char>& response,
                             uint16_t /*timeoutMs*/)
{
    return current->answer(request, response) ? 0 : -1;
}
