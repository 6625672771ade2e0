// SPDX-License-Identifier: Apache-2.0
#include <cstdint>

// Functions that libspdm expects the program to provide: those that use a
// device's own secrets, measurements and memory. This requester has no key to
// sign with and no pre-shared key, and is no device, so all of them refuse. As
// archives the library asks for a requester's alone. As a shared library it
// holds the responder, too, and wants every one of them when it is loaded.
//
// The library's headers are left out on purpose. Its releases add parameters
// to these functions; as none is looked at, one definition serves all of them.

// Visible, since a shared library finds nothing else.
#define REFUSE(name)                                                           \
    [[gnu::visibility("default")]] bool name()                                 \
    {                                                                          \
        return false;                                                          \
    }

/** LIBSPDM_STATUS_UNSUPPORTED_CAP, which has had this value in all releases. */
#define UNSUPPORTED(name)                                                      \
    [[gnu::visibility("default")]] uint32_t name()                             \
    {                                                                          \
        return 0x80010002;                                                     \
    }

extern "C"
{
    // Of a requester.
    REFUSE(libspdm_requester_data_sign)
    REFUSE(libspdm_encap_challenge_opaque_data)
    REFUSE(libspdm_psk_handshake_secret_hkdf_expand)
    REFUSE(libspdm_psk_master_secret_hkdf_expand)
    UNSUPPORTED(libspdm_generate_device_endpoint_info)

    // Of a responder.
    REFUSE(libspdm_responder_data_sign)
    REFUSE(libspdm_challenge_opaque_data)
    REFUSE(libspdm_event_get_types)
    REFUSE(libspdm_event_subscribe)
    REFUSE(libspdm_gen_csr)
    REFUSE(libspdm_gen_csr_ex)
    REFUSE(libspdm_generate_measurement_summary_hash)
    REFUSE(libspdm_is_in_trusted_environment)
    REFUSE(libspdm_measurement_extension_log_collection)
    REFUSE(libspdm_measurement_opaque_data)
    REFUSE(libspdm_read_key_pair_info)
    REFUSE(libspdm_write_certificate_to_nvm)
    REFUSE(libspdm_write_key_pair_info)
    UNSUPPORTED(libspdm_measurement_collection)

} // extern "C"
