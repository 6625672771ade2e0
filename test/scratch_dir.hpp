// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

/** A new directory that goes, with all that is in it, when this goes. */
class ScratchDir
{
  public:
    ScratchDir()
    {
        std::string name =
            std::filesystem::temp_directory_path() / "zantric-XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("cannot make a directory");
        }
        where = name;
    }

    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    ~ScratchDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(where, ignored);
    }

    const std::filesystem::path& path() const
    {
        return where;
    }

  private:
    std::filesystem::path where;
};
