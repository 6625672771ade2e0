// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/spdm/Libspdm.hpp"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

/** A libspdm that does what a test says.
 *
 *  It reaches what the real library lets no device do, and shows what it was
 *  told. Statuses are 0 unless a test sets them.
 */
struct Scripted
{
    using Status = libspdm_return_t;
    using Item = std::pair<libspdm_data_type_t, uint8_t>;

    struct Setting
    {
        libspdm_data_type_t item;
        libspdm_data_location_t location;
        const void* data;
        uint64_t value; //!< 0 when it does not fit
        size_t size;
    };

    size_t contextSize{64};
    size_t scratchSize{64};
    Status initContext{0};
    Status initConnection{0};
    Status setRoot{0};
    Status digest{0};
    uint8_t slotMask{1};
    /** By item and slot: what the library knows of the connection. */
    std::map<Item, uint64_t> peers;
    std::map<uint8_t, Status> certificate; //!< by slot
    std::map<uint8_t, Status> challenge;   //!< by slot
    Status blockCount{0};
    uint8_t blocks{0};
    std::map<uint8_t, Status> block; //!< by index
    std::map<uint8_t, std::vector<uint8_t>> records;
    bool integrity{true};
    bool authority{true};
    bool hash{true};
    bool certificateFound{true};
    /** What the library does while it connects. */
    std::function<void()> duringConnection;

    std::vector<std::string> calls;
    /** Items that were read: number, location, bytes. */
    std::vector<std::array<uint64_t, 3>> reads;
    std::vector<Setting> settings;
    libspdm_device_send_message_func send{nullptr};
    libspdm_device_receive_message_func receive{nullptr};
    libspdm_device_acquire_sender_buffer_func acquireSender{nullptr};
    libspdm_device_acquire_receiver_buffer_func acquireReceiver{nullptr};
    std::vector<uint32_t> sizes; //!< of the transport, then of the buffers
    libspdm_verify_spdm_cert_chain_func verify{nullptr};
};

extern Scripted scripted;
