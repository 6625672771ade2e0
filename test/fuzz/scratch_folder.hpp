#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace fuzz
{

/** A new folder that goes with its owner. */
class ScratchFolder
{
  public:
    ScratchFolder()
    {
        std::string name =
            std::filesystem::temp_directory_path() / "zantric-fuzz-XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("no folder " + name);
        }
        folder = name;
    }

    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    const std::string& path() const
    {
        return folder;
    }

  private:
    std::string folder;
};

} // namespace fuzz
