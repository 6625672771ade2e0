// SPDX-License-Identifier: Apache-2.0
#include "subprojects/libspdm/src/requests.hpp"

#include <gtest/gtest.h>

namespace
{

using spdm::Algorithms;
using spdm::Context;

constexpr libspdm_return_t fine = LIBSPDM_STATUS_SUCCESS;
constexpr libspdm_return_t wrong = LIBSPDM_STATUS_INVALID_MSG_FIELD;
constexpr libspdm_return_t fails = LIBSPDM_STATUS_NEGOTIATION_FAIL;

// Bits of the capabilities, DSP0274.
constexpr uint32_t cert = 0x2;
constexpr uint32_t chal = 0x4;
constexpr uint32_t meas = 0x10;
constexpr uint32_t encrypt = 0x40;
constexpr uint32_t mac = 0x80;
constexpr uint32_t mutual = 0x100;
constexpr uint32_t keyEx = 0x200;
constexpr uint32_t psk = 0x400;
constexpr uint32_t mel = 0x01000000;
constexpr uint32_t onlyMulti = 0x04000000;
constexpr uint32_t negMulti = 0x08000000;
constexpr uint32_t session = keyEx | psk | encrypt | mac | mutual;

constexpr uint8_t format1 = 0x02;
constexpr uint8_t multiKey = 0x10;

/** What two sides agree on that can do everything, and what is changed. */
struct Sides
{
    Context context;
    uint32_t& own = context.local.capability.flags;
    uint32_t& peer = context.connection.capability.flags;
    Algorithms& offered = context.local.algorithms;
    Algorithms& chosen = context.connection.algorithms;

    Sides()
    {
        speak(0x13);
        own = session;
        peer = session | cert | chal | meas | mel;
        chosen = {.measurementHash = 4,
                  .baseAsym = 0x80,
                  .baseHash = 2,
                  .dhe = 0x10,
                  .aead = 2,
                  .reqBaseAsym = 0x80,
                  .keySchedule = 1,
                  .measurementSpec = 1,
                  .otherParams = format1,
                  .melSpec = 1};
        offered = chosen;
        offered.measurementHash = 0;
    }

    void speak(uint8_t version)
    {
        context.connection.version = static_cast<uint16_t>(version << 8);
    }

    /** Both sides have these, and the peer more. */
    void can(uint32_t both, uint32_t more)
    {
        own = both;
        peer = both | more;
    }
};

struct Row
{
    const char* what;
    void (*change)(Sides& it);
    libspdm_return_t base;
    libspdm_return_t sessions;
};

void nothingForSessions(Sides& it)
{
    it.chosen.dhe = it.chosen.aead = it.chosen.reqBaseAsym = 0;
    it.chosen.keySchedule = 0;
    it.chosen.otherParams = it.chosen.melSpec = 0;
}

const Row rows[] = {
    {"all", [](Sides&) {}, fine, fine},
    {"no specification", [](Sides& it) { it.chosen.measurementSpec = 0; },
     wrong, fine},
    {"a specification that was not offered",
     [](Sides& it) { it.offered.measurementSpec = 0; }, wrong, fine},
    {"neither",
     [](Sides& it)
     { it.chosen.measurementSpec = it.offered.measurementSpec = 0; },
     fine, fine},
    {"a specification without measurements",
     [](Sides& it) { it.peer &= ~meas; }, wrong, fine},
    {"another specification", [](Sides& it) { it.chosen.measurementSpec = 2; },
     wrong, fine},
    {"no measurement hash", [](Sides& it) { it.chosen.measurementHash = 0; },
     fails, fine},
    {"raw bits only", [](Sides& it) { it.chosen.measurementHash = 1; }, fine,
     fine},
    {"no hash", [](Sides& it) { it.chosen.baseHash = 0; }, fails, fine},
    {"another hash", [](Sides& it) { it.chosen.baseHash = 1; }, fails, fine},
    {"an unknown hash",
     [](Sides& it) { it.chosen.baseHash = it.offered.baseHash = 0x40; }, fails,
     fine},
    {"no signature", [](Sides& it) { it.chosen.baseAsym = 0; }, fails, fine},
    {"another signature", [](Sides& it) { it.chosen.baseAsym = 0x10; }, fails,
     fine},
    {"an unknown signature",
     [](Sides& it) { it.chosen.baseAsym = it.offered.baseAsym = 1; }, fails,
     fine},
    {"nothing to sign",
     [](Sides& it)
     {
         it.can(0, 0);
         it.chosen.baseAsym = it.chosen.baseHash = 0;
         it.chosen.measurementSpec = 0;
     },
     fine, fine},
    {"a hash for certificates",
     [](Sides& it)
     {
         it.can(0, cert | meas);
         it.chosen.baseHash = 0;
     },
     fails, fine},
    {"a signature for certificates",
     [](Sides& it)
     {
         it.can(0, cert | meas);
         it.chosen.baseAsym = 0;
     },
     fails, fine},
    {"a signature for the challenge",
     [](Sides& it)
     {
         it.can(0, chal | meas);
         it.chosen.baseAsym = 0;
     },
     fails, fine},
    {"a signature for measurements",
     [](Sides& it)
     {
         it.can(0, meas);
         it.chosen.baseAsym = 0;
     },
     fails, fine},
    {"none for measurements without one",
     [](Sides& it)
     {
         it.can(0, 8);
         it.chosen.baseAsym = it.chosen.baseHash = 0;
     },
     fine, fine},
    {"a hash for a shared key",
     [](Sides& it)
     {
         it.can(psk, 8);
         it.chosen.baseHash = 0;
     },
     fails, wrong},
    {"no signature for a shared key",
     [](Sides& it)
     {
         it.can(psk, 8 | mel);
         it.chosen.baseAsym = 0;
     },
     fine, fine},
    {"a signature for a key exchange",
     [](Sides& it)
     {
         it.can(keyEx, 8 | mel);
         it.chosen.baseAsym = 0;
     },
     fails, fine},
    {"a hash for a key exchange",
     [](Sides& it)
     {
         it.can(keyEx, 8 | mel);
         it.chosen.baseHash = 0;
     },
     fails, fine},
    {"no group", [](Sides& it) { it.chosen.dhe = 0; }, fine, fails},
    {"another group", [](Sides& it) { it.chosen.dhe = 8; }, fine, fails},
    {"an unknown group",
     [](Sides& it) { it.chosen.dhe = it.offered.dhe = 0x40; }, fine, fails},
    {"no suite", [](Sides& it) { it.chosen.aead = 0; }, fine, fails},
    {"another suite", [](Sides& it) { it.chosen.aead = 4; }, fine, fails},
    {"an unknown suite",
     [](Sides& it) { it.chosen.aead = it.offered.aead = 8; }, fine, fails},
    {"no suite to encrypt with",
     [](Sides& it)
     {
         it.can(keyEx | encrypt, meas | mel);
         it.chosen.aead = 0;
     },
     fine, fails},
    {"no suite to authenticate with",
     [](Sides& it)
     {
         it.can(keyEx | mac, meas | mel);
         it.chosen.aead = 0;
     },
     fine, fails},
    {"no suite for neither",
     [](Sides& it)
     {
         it.can(keyEx, meas | mel);
         it.chosen.aead = it.chosen.reqBaseAsym = 0;
     },
     fine, fine},
    {"no signature of the requester",
     [](Sides& it) { it.chosen.reqBaseAsym = 0; }, fine, fails},
    {"another signature of the requester",
     [](Sides& it) { it.chosen.reqBaseAsym = 0x10; }, fine, fails},
    {"an unknown signature of the requester",
     [](Sides& it) { it.chosen.reqBaseAsym = it.offered.reqBaseAsym = 1; },
     fine, fails},
    {"no schedule", [](Sides& it) { it.chosen.keySchedule = 0; }, fine, fails},
    {"a schedule that was not offered",
     [](Sides& it) { it.offered.keySchedule = 0; }, fine, fails},
    {"an unknown schedule",
     [](Sides& it) { it.chosen.keySchedule = it.offered.keySchedule = 2; },
     fine, fails},
    {"no schedule for a shared key",
     [](Sides& it)
     {
         it.can(psk, meas | mel);
         it.chosen.keySchedule = 0;
     },
     fine, fails},
    {"no format of opaque data", [](Sides& it) { it.chosen.otherParams = 0; },
     fine, fails},
    {"a format that 1.1 has not",
     [](Sides& it)
     {
         it.speak(0x11);
         it.chosen.otherParams = 0;
     },
     fine, fine},
    {"a format that 1.2 has",
     [](Sides& it)
     {
         it.speak(0x12);
         it.chosen.otherParams = 0;
     },
     fine, fails},
    {"no log", [](Sides& it) { it.chosen.melSpec = 0; }, fine, wrong},
    {"a log that was not offered", [](Sides& it) { it.offered.melSpec = 0; },
     fine, wrong},
    {"a log of a peer without one", [](Sides& it) { it.peer &= ~mel; }, fine,
     wrong},
    {"no log of a peer without one",
     [](Sides& it)
     {
         it.peer &= ~mel;
         it.chosen.melSpec = 0;
     },
     fine, fine},
    {"a log that 1.2 has not",
     [](Sides& it)
     {
         it.speak(0x12);
         it.chosen.melSpec = 0;
     },
     fine, fine},
    {"several keys",
     [](Sides& it) { it.chosen.otherParams = format1 | multiKey; }, fine,
     fails},
    {"several keys that were offered",
     [](Sides& it)
     {
         it.own |= negMulti;
         it.chosen.otherParams = format1 | multiKey;
     },
     fine, fine},
    {"one key where several were offered",
     [](Sides& it) { it.own |= negMulti; }, fine, fine},
    {"one key where there are several", [](Sides& it) { it.own |= onlyMulti; },
     fine, fails},
    {"several keys that 1.2 has not",
     [](Sides& it)
     {
         it.speak(0x12);
         it.own |= onlyMulti;
     },
     fine, fine},
    {"nothing for sessions", nothingForSessions, fine, fails},
    {"no sessions of the requester",
     [](Sides& it)
     {
         it.own = 0;
         nothingForSessions(it);
     },
     fine, fine},
    {"no sessions of the peer",
     [](Sides& it)
     {
         it.peer = cert | chal | meas;
         nothingForSessions(it);
     },
     fine, fine},
    {"no sessions in 1.0",
     [](Sides& it)
     {
         it.speak(0x10);
         nothingForSessions(it);
     },
     fine, fine},
    {"sessions in 1.1",
     [](Sides& it)
     {
         it.speak(0x11);
         nothingForSessions(it);
     },
     fine, fails},
};

TEST(Selection, isWhatBothSidesCan)
{
    for (const Row& row : rows)
    {
        Sides sides;
        row.change(sides);
        EXPECT_EQ(spdm::checkBaseSelection(sides.context), row.base)
            << row.what;
        EXPECT_EQ(spdm::checkSessionSelection(sides.context), row.sessions)
            << row.what;
    }
}

} // namespace
