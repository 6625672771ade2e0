#pragma once

#include <sys/types.h>
#include <sys/un.h>

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
 */
class UdsSocket
{
  public:
    UdsSocket() = default;
    UdsSocket(const UdsSocket&) = delete;
    UdsSocket& operator=(const UdsSocket&) = delete;
    UdsSocket(UdsSocket&&) = delete;
    UdsSocket& operator=(UdsSocket&&) = delete;
    ~UdsSocket();

    /** Open the socket and bind it below /run, unless it is open.
     *
     *  What a killed run left at the path is removed first.
     *
     *  @return 0, or -1 with an error record in the journal
     */
    int init();

    /** Close the socket and remove its file; nothing when it is closed. */
    void uninit();

    /** Send one datagram to the socket itself.
     *
     *  @return what sendto(2) returns, with errno
     */
    ssize_t sendToSelf(std::span<const uint8_t> bytes) const;

    /** Take one datagram; what does not fit into the buffer is lost.
     *
     *  @param timeout microseconds
     *  @return its length; 0 with the buffer untouched when none came in time;
     *          -1 when select(2) or recv(2) failed. The last two leave an
     *          error record in the journal.
     */
    ssize_t receive(void* buffer, std::size_t length, uint64_t timeout) const;

    /** The file that the socket is bound to, by the link of the executable.
     *
     *  Cut to the 107 characters that an address holds (unix(7)).
     */
    static std::string pathFor(std::string_view executable);

  private:
    bool bindToPath();

    int fd{-1};
    std::string path;
    sockaddr_un address{};
};

} // namespace mctp::spdm
