// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

/** Files that are read whole, and written whole or not at all. */
namespace io
{

/** An open file, closed at the latest when this goes. */
class Descriptor
{
  public:
    explicit Descriptor(int number = -1) noexcept : fd(number)
    {
    }

    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    bool isOpen() const noexcept
    {
        return fd >= 0;
    }

    int number() const noexcept
    {
        return fd;
    }

  private:
    int fd;
};

/** Is an open file still what the name stands for?
 *
 *  @throw std::system_error when it cannot be asked
 */
bool isNamed(const Descriptor& file, const std::string& path);

/** The content of an open file.
 *
 *  @param longest how long it may be, in whole MiB
 *  @throw std::runtime_error when it is no regular file
 *  @throw std::length_error when it is longer
 *  @throw std::system_error when it cannot be read
 */
std::string readAll(const Descriptor& file, std::size_t longest);

/** Replace a file in a folder that others may write to.
 *
 *  The content goes to a new file of mode 0600, which then takes the name: a
 *  link that someone planted under the name is replaced, never followed, and
 *  a reader sees the old content or the new.
 *
 *  @throw std::system_error when any step failed; the old file is as it was
 */
void replaceFile(const std::string& path, std::string_view content);

/** A turn at changing a file that several processes change.
 *
 *  From its making to its end nobody else has one. The new content goes to a
 *  file beside, `path`.new, which takes the name once it is on the storage: a
 *  reader sees the old content or the new. That file is also the lock. It is
 *  for its owner only, nothing is left of it after a turn, and what a crash
 *  leaves is taken over by the next turn.
 *
 *  Links are followed. The file keeps its owner and mode; a new one has mode
 *  0644.
 */
class FileTurn
{
  public:
    /** Wait for the turn.
     *
     *  @throw std::system_error when the file beside cannot be made, and with
     *         ETIMEDOUT when the others do not end their turns in time
     */
    explicit FileTurn(
        const std::string& path,
        std::chrono::milliseconds longest = std::chrono::seconds(25));
    ~FileTurn();

    /** Give the file this content.
     *
     *  @throw std::system_error when any step failed; the old file is as it
     *         was, unless only the folder could not be brought to the storage
     *  @throw std::runtime_error when the name belongs to no regular file
     */
    void write(std::string_view content);

  private:
    std::string target;
    std::string beside;
    Descriptor file;
    bool renamed{false};
};

/** The path of the program that runs, as /proc/self/exe has it; empty when it
 *  cannot be read. Of a program that has been removed or replaced meanwhile
 *  the path ends with " (deleted)", as the kernel says it. */
std::string executablePath();

} // namespace io
