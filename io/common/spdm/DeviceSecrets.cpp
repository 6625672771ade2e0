#include <cstdint>

// Functions that libspdm expects the program to provide: those that use a
// device's own secrets. This requester has no key to sign with and no
// pre-shared key, so they are empty and refuse.
//
// The library's headers are left out on purpose. Its releases add parameters
// to these functions; as none is looked at, one definition serves all of them.

namespace
{
/** LIBSPDM_STATUS_UNSUPPORTED_CAP, which has had this value in all releases. */
constexpr uint32_t unsupported = 0x80010002;
} // namespace

extern "C"
{
    bool libspdm_requester_data_sign()
    {
        return false;
    }

    bool libspdm_responder_data_sign()
    {
        return false;
    }

    bool libspdm_encap_challenge_opaque_data()
    {
        return false;
    }

    bool libspdm_psk_handshake_secret_hkdf_expand()
    {
        return false;
    }

    bool libspdm_psk_master_secret_hkdf_expand()
    {
        return false;
    }

    uint32_t libspdm_generate_device_endpoint_info()
    {
        return unsupported;
    }

} // extern "C"
