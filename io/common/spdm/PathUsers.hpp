// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/File.hpp"

#include <string>

namespace mctp::spdm
{

/** The runs of a program that use one path at the same time.
 *
 *  They know of each other by a lock file, PATH.lock, of mode 0600. One byte
 *  of it is locked by the run whose turn it is to change what is at the path,
 *  the other is shared by all that use it. The last to leave removes the file.
 *  The locks are those of an open file (fcntl(2)) and end with their process,
 *  so that a killed run counts no longer.
 */
class PathUsers
{
  public:
    /** Wait for the turn at a path that this run does not use yet.
     *
     *  @return false, with nothing to leave, when the lock file cannot be
     *          made or locked
     */
    bool enter(const std::string& path);

    /** Count as one that uses the path, and end the turn. */
    bool stay() const;

    bool takeTurn() const;
    void endTurn() const;

    /** Whether no other run uses the path. Asked by the one whose turn it is.
     */
    bool isAlone() const;

    /** Use the path no longer, and end the turn; nothing when not entered. */
    void leave();

  private:
    io::Descriptor file;
    std::string name;
};

} // namespace mctp::spdm
