// SPDX-License-Identifier: Apache-2.0
#include "tool/attest/module.hpp"

#include "io/common/src/File.hpp"

#include <dlfcn.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace attest
{

namespace
{

constexpr const char* fileName = "/zantric-attest.so";

/** The folder of the running executable; empty when it cannot be told. */
std::string ownFolder()
{
    const std::string path = io::executablePath();
    return path.substr(0, path.rfind('/'));
}

[[noreturn]] void failLoading()
{
    const char* reason = dlerror();
    throw std::runtime_error(reason != nullptr ? reason : "no module");
}

void* symbol(void* module, const char* name)
{
    void* found = dlsym(module, name);
    if (found == nullptr)
    {
        failLoading();
    }
    return found;
}

/** The first module that is there; one that is there but broken is an error. */
void* open()
{
    std::string path;
    for (std::string& candidate : modulePaths())
    {
        path = std::move(candidate);
        if (access(path.c_str(), F_OK) == 0)
        {
            break;
        }
    }
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
    {
        failLoading();
    }
    return module;
}

} // namespace

std::vector<std::string> modulePaths()
{
    std::vector<std::string> paths;
    if (std::string folder = ownFolder(); folder.starts_with('/'))
    {
        paths.push_back(folder + fileName);
    }
    paths.push_back(std::string(ATTEST_MODULE_FOLDER) + fileName);
    return paths;
}

Entry loadModule()
{
    void* module = open();
    const auto* version =
        static_cast<const char*>(symbol(module, versionSymbol));
    if (std::strcmp(version, ATTEST_MODULE_VERSION) != 0)
    {
        throw std::runtime_error("the module is of another version");
    }
    return reinterpret_cast<Entry>(symbol(module, entrySymbol));
}

} // namespace attest
