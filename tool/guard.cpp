// SPDX-License-Identifier: Apache-2.0
#include "tool/guard.hpp"

#include "tool/output.hpp"

#include <exception>

bool tool::guarded(std::string_view words, const std::function<bool()>& run)
{
    try
    {
        return run();
    }
    catch (const std::exception& failure)
    {
        out::line({words, failure.what()});
        return false;
    }
}
