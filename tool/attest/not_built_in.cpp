#include "io/common/src/Output.hpp"
#include "tool/operations.hpp"

bool operation::attest(const DbusConnPtr& /*bus*/, Options& /*options*/)
{
    io::out::line({"Attestation is not built in"});
    return false;
}
