#include <cstdint>

// Functions that libspdm expects the program to provide: those that use a
// device's own secrets, measurements and memory. This requester has no key to
// sign with and no pre-shared key, and is no device, so all of them refuse. As
// archives the library asks for a requester's alone. As a shared library it
// holds the responder, too, and wants every one of them when it is loaded.
//
// The library's headers are left out on purpose. Its releases add parameters
// to these functions; as none is looked at, one definition serves all of them.

namespace
{
/** LIBSPDM_STATUS_UNSUPPORTED_CAP, which has had this value in all releases. */
constexpr uint32_t unsupported = 0x80010002;
} // namespace

// Visible, since a shared library finds nothing else.
#define SAME_AS(name) [[gnu::visibility("default"), gnu::alias(name)]]
#define REFUSED SAME_AS("libspdm_requester_data_sign")
#define UNSUPPORTED SAME_AS("libspdm_measurement_collection")

extern "C"
{
    [[gnu::visibility("default")]] bool libspdm_requester_data_sign()
    {
        return false;
    }

    [[gnu::visibility("default")]] uint32_t libspdm_measurement_collection()
    {
        return unsupported;
    }

    // Of a requester.
    REFUSED bool libspdm_encap_challenge_opaque_data();
    REFUSED bool libspdm_psk_handshake_secret_hkdf_expand();
    REFUSED bool libspdm_psk_master_secret_hkdf_expand();
    UNSUPPORTED uint32_t libspdm_generate_device_endpoint_info();

    // Of a responder.
    REFUSED bool libspdm_responder_data_sign();
    REFUSED bool libspdm_challenge_opaque_data();
    REFUSED bool libspdm_event_get_types();
    REFUSED bool libspdm_event_subscribe();
    REFUSED bool libspdm_gen_csr();
    REFUSED bool libspdm_gen_csr_ex();
    REFUSED bool libspdm_generate_measurement_summary_hash();
    REFUSED bool libspdm_is_in_trusted_environment();
    REFUSED bool libspdm_measurement_extension_log_collection();
    REFUSED bool libspdm_measurement_opaque_data();
    REFUSED bool libspdm_read_key_pair_info();
    REFUSED bool libspdm_write_certificate_to_nvm();
    REFUSED bool libspdm_write_key_pair_info();

} // extern "C"
