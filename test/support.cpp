// SPDX-License-Identifier: Apache-2.0
#include "test/support.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace
{

/** Standard output goes to a file in memory while this lives. */
class Capture
{
  public:
    Capture() : file(memfd_create("stdout", MFD_CLOEXEC))
    {
        std::fflush(stdout);
        saved = dup(STDOUT_FILENO);
        if (file < 0 || saved < 0 || dup2(file, STDOUT_FILENO) < 0)
        {
            throw std::runtime_error("cannot redirect standard output");
        }
    }

    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    ~Capture()
    {
        std::fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        close(saved);
        close(file);
    }

    std::string text() const
    {
        std::fflush(stdout);
        const off_t size = lseek(file, 0, SEEK_END);
        std::string read(static_cast<std::size_t>(size), '\0');
        if (pread(file, read.data(), read.size(), 0) != size)
        {
            throw std::runtime_error("cannot read what was printed");
        }
        return read;
    }

  private:
    int file;
    int saved{-1};
};

} // namespace

std::string printedBy(const std::function<void()>& body)
{
    const Capture capture;
    body();
    return capture.text();
}
