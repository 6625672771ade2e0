// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsSequence.hpp"
#include "target.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <exception>

namespace
{

using nlohmann::json;

/** A file in memory that has a path. */
class File
{
  public:
    explicit File(fuzz::Input content) : fd(memfd_create("sequences", 0))
    {
        fuzz::require(write(fd, content.data(), content.size()) ==
                          static_cast<ssize_t>(content.size()),
                      "the file can be made");
    }

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    ~File()
    {
        close(fd);
    }

    std::string path() const
    {
        return "/proc/self/fd/" + std::to_string(fd);
    }

  private:
    int fd;
};

json loadOrStartOver(const File& file)
{
    try
    {
        return io::events::loadSequences(file.path());
    }
    catch (const std::exception&)
    {
        return nullptr;
    }
}

} // namespace

/** The file of sequence numbers: the next number of a class, twice. */
void fuzz::target(Input input)
{
    const File file(input);
    json document = loadOrStartOver(file);
    const uint64_t first = io::events::takeSequence(document, "PCI");
    require(first > 0, "numbers begin at 1");
    const std::string text = document.dump();
    const File stored(
        Input(reinterpret_cast<const uint8_t*>(text.data()), text.size()));

    json again = io::events::loadSequences(stored.path());
    require(again == document, "what is stored is what is loaded");
    const uint64_t second = io::events::takeSequence(again, "PCI");
    require(second == first + 1 || second == 1, "the next number follows");
}
