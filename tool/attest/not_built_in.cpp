// SPDX-License-Identifier: Apache-2.0
#include "tool/attest/attest.hpp"
#include "tool/output.hpp"

bool tool::attestDevice(const DbusConnPtr& /*bus*/, const Options& /*options*/)
{
    out::line("Attestation is not built in");
    return false;
}
