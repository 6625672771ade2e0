// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Spdm.hpp"

#include <phosphor-logging/lg2.hpp>

#include <array>
#include <variant>

namespace mctp::spdm
{

namespace
{

struct Setting
{
    libspdm_data_type_t item;
    /** In as many bytes as the library takes. */
    std::variant<uint8_t, uint16_t, uint32_t, uint64_t> value;
};

/** What this requester offers, by the numbers of DSP0274. The version, the
 *  measurement hash and the transfer sizes are left to the library.
 */
constexpr std::array settings{
    Setting{LIBSPDM_DATA_CAPABILITY_CT_EXPONENT, uint8_t{0}},
    // One second, in microseconds.
    Setting{LIBSPDM_DATA_CAPABILITY_RTT_US, uint64_t{1000000}},
    // CERT, CHAL, ENCRYPT, MAC, KEY_EX, HBEAT, KEY_UPD and CHUNK.
    Setting{LIBSPDM_DATA_CAPABILITY_FLAGS, uint32_t{0x262C6}},
    // DMTF
    Setting{LIBSPDM_DATA_MEASUREMENT_SPEC, uint8_t{0x01}},
    // ECDSA P-384
    Setting{LIBSPDM_DATA_BASE_ASYM_ALGO, uint32_t{0x80}},
    // SHA-256 and SHA-384
    Setting{LIBSPDM_DATA_BASE_HASH_ALGO, uint32_t{0x03}},
    // FFDHE-2048, FFDHE-3072, secp256r1 and secp384r1
    Setting{LIBSPDM_DATA_DHE_NAME_GROUP, uint16_t{0x1B}},
    // AES-256-GCM and ChaCha20-Poly1305
    Setting{LIBSPDM_DATA_AEAD_CIPHER_SUITE, uint16_t{0x06}},
    // ECDSA P-384
    Setting{LIBSPDM_DATA_REQ_BASE_ASYM_ALG, uint16_t{0x80}},
    // the SPDM key schedule
    Setting{LIBSPDM_DATA_KEY_SCHEDULE, uint16_t{0x01}},
    // opaque data format 1 and multi-key connection
    Setting{LIBSPDM_DATA_OTHER_PARAMS_SUPPORT, uint8_t{0x12}},
    // DMTF
    Setting{LIBSPDM_DATA_MEL_SPEC, uint8_t{0x01}},
};

constexpr uint32_t senderBufferSize = 4480;
constexpr uint32_t receiverBufferSize = 4736;
constexpr uint32_t maxSpdmMessageSize = 0x1200;
constexpr uint32_t transportHeaderSize = 64;
constexpr uint32_t transportTailSize = 64;

std::array<uint8_t, senderBufferSize> senderBuffer;
std::array<uint8_t, receiverBufferSize> receiverBuffer;

libspdm_return_t acquireSender(void* /*context*/, void** buffer)
{
    senderBuffer.fill(0);
    *buffer = senderBuffer.data();
    return LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t acquireReceiver(void* /*context*/, void** buffer)
{
    receiverBuffer.fill(0);
    *buffer = receiverBuffer.data();
    return LIBSPDM_STATUS_SUCCESS;
}

// Both buffers live as long as the process.
void release(void* /*context*/, const void* /*buffer*/)
{
}

void apply(void* context, const Setting& setting)
{
    libspdm_data_parameter_t parameter{};
    parameter.location = LIBSPDM_DATA_LOCATION_LOCAL;
    const auto set = [&](auto value)
    {
        return libspdm_set_data(context, setting.item, &parameter, &value,
                                sizeof(value));
    };
    // The library refuses what it was built without; the peers then agree on
    // less.
    static_cast<void>(std::visit(set, setting.value));
}

/** The transport comes first: the library checks the buffers against it. */
void registerCallbacks(void* context)
{
    libspdm_register_device_io_func(context, SpdmLib::spdmSendMessage,
                                    SpdmLib::spdmReceiveMessage);
    libspdm_register_transport_layer_func(
        context, maxSpdmMessageSize, transportHeaderSize, transportTailSize,
        libspdm_transport_mctp_encode_message,
        libspdm_transport_mctp_decode_message);
    libspdm_register_device_buffer_func(context, senderBufferSize,
                                        receiverBufferSize, acquireSender,
                                        release, acquireReceiver, release);
    libspdm_register_verify_spdm_cert_chain_func(
        context, SpdmLib::verifyRemoteCertChain);
}

} // namespace

bool SpdmLib::setUpScratchBuffer()
{
    const size_t size =
        libspdm_get_sizeof_required_scratch_buffer(context.get());
    HeapBlock buffer(std::malloc(size), std::free);
    if (buffer == nullptr)
    {
        return false;
    }
    libspdm_set_scratch_buffer(context.get(), buffer.get(), size);
    scratchBuffer = std::move(buffer);
    return true;
}

/** Give back what the library holds in the context; its memory stays. */
void SpdmLib::leaveContext()
{
    if (contextInUse)
    {
        libspdm_deinit_context(context.get());
        contextInUse = false;
    }
}

libspdm_return_t SpdmLib::setUpContext()
{
    if (context == nullptr)
    {
        context.reset(std::malloc(libspdm_get_context_size()));
    }
    if (context == nullptr)
    {
        lg2::error("[ERR] malloc spdm context failed");
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    leaveContext();
    const libspdm_return_t status = libspdm_init_context(context.get());
    contextInUse = !LIBSPDM_STATUS_IS_ERROR(status);
    if (!contextInUse)
    {
        lg2::error("[ERR] spdm init context failed");
    }
    return status;
}

libspdm_return_t SpdmLib::initialize()
{
    const libspdm_return_t status = setUpContext();
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    registerCallbacks(context.get());
    if (!setUpScratchBuffer())
    {
        lg2::error("[ERR] malloc scratch buffer failed");
        uninitialize();
        return LIBSPDM_STATUS_SUCCESS;
    }
    for (const Setting& setting : settings)
    {
        apply(context.get(), setting);
    }
    lg2::info("SPDM Lib initialized");
    return LIBSPDM_STATUS_SUCCESS;
}

void SpdmLib::uninitialize()
{
    socket.uninit();
    leaveContext();
    context.reset();
    scratchBuffer.reset();
    lg2::info("SPDM Lib uninitialized");
}

} // namespace mctp::spdm
