#include "io/common/src/Output.hpp"
#include "tool/operations.hpp"

// Operations that have their place in the table and nothing behind it yet.

namespace operation
{

namespace
{
bool notAvailable(const Options& options)
{
    io::out::line({"Operation not available yet: ", options.operation});
    return false;
}
} // namespace

bool attest(const DbusConnPtr& /*bus*/, Options& options)
{
    return notAvailable(options);
}

} // namespace operation
