// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/spdm/Spdm.hpp"
#include "test/io/spdm/scripted_libspdm.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

/** The journal's lines that `body` writes: "<priority> message". */
Lines journalOf(const std::function<void()>& body);

/** What the simulated services were sent by the calls of one member, each as
 *  a line of the simulator's log. */
Lines callsOf(const std::string& member);

/** A requester on the simulated BMC and a library without a will. */
class SpdmTest : public ::testing::Test
{
  protected:
    void SetUp() override;
    void TearDown() override;

    /** Where scenario.json has an endpoint that echoes, and one that fails. */
    static constexpr uint32_t echoAddress = 0x8c0000;
    static constexpr uint32_t failingAddress = 0x8d0000;

    /** Attest the echoing device; the status and the journal's lines. */
    libspdm_return_t attest(Lines& lines, const std::string& roots = "");

    /** What a device with certificates, challenge and signed measurements
     *  has negotiated. */
    static void negotiate(uint16_t version, uint32_t flags = 0x16);
};
