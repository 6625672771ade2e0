// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/spdm/PathUsers.hpp"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace mctp::spdm
{

/** The datagram socket that the process binds to itself.
 *
 *  A device's response arrives inside the send callback of the SPDM library,
 *  which asks for it later by its receive callback. In between it waits here.
 *
 *  All runs bind to the same path, each taking the place of the one before.
 *  So a run connects its socket to itself as soon as it is bound, while no
 *  other may touch the path: from then on whatever is sent arrives there, and
 *  the kernel lets nobody else send into it (unix(7)). The file stays for as
 *  long as one of the runs lasts.
 */
class UdsSocket
{
  public:
    ~UdsSocket();

    /** Open the socket and bind it below /run, unless it is open.
     *
     *  What a killed run, or one that goes on, has at the path is removed
     *  first.
     *
     *  @return 0, or -1 with an error record in the journal
     */
    int init();

    /** Close the socket; the last run removes the file. Nothing when it is
     *  closed.
     */
    void uninit();

    /** Send one datagram to the socket itself.
     *
     *  @return what send(2) returns, with errno; -1 when somebody removed the
     *          file, as the socket has no address without it
     */
    ssize_t sendToSelf(std::span<const uint8_t> bytes) const;

    /** Take one datagram; what does not fit into the buffer is lost, and what
     *  it does not fill is cleared.
     *
     *  @param timeout microseconds
     *  @return its length; 0 when none came in time; -1 when select(2) or
     *          recv(2) failed. The last two leave an error record in the
     *          journal.
     */
    ssize_t receive(void* buffer, std::size_t length, uint64_t timeout) const;

    /** The file that the socket is bound to, by the link of the executable.
     *
     *  Cut to the 107 characters that an address holds (unix(7)).
     */
    static std::string pathFor(std::string_view executable);

  private:
    bool bindToPath() const;
    bool openAtPath();
    bool hasFile() const;

    io::Descriptor fd;
    std::string path;
    PathUsers users;
};

} // namespace mctp::spdm
