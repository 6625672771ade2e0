// SPDX-License-Identifier: Apache-2.0
#include "tool/output.hpp"

#include <cstdlib>
#include <exception>

namespace
{

void report(const char* reason)
{
    tool::out::errorLine({"zantric: terminated by an exception: ", reason});
}

} // namespace

namespace __gnu_cxx // NOLINT(bugprone-reserved-identifier)
{

/** What the C++ runtime calls where an exception finds no handler.
 *
 *  The runtime's own names the exception's type readably and so brings a
 *  demangler into every program that it is linked into statically: a tenth of
 *  this one. Defined here, it stays out.
 */
void __verbose_terminate_handler() // NOLINT(bugprone-reserved-identifier)
{
    try
    {
        if (std::current_exception())
        {
            throw;
        }
    }
    catch (const std::exception& failure)
    {
        report(failure.what());
    }
    catch (...)
    {
        report("of unknown kind");
    }
    std::abort();
}

} // namespace __gnu_cxx
