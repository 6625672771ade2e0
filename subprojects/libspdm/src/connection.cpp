// SPDX-License-Identifier: Apache-2.0
#include "requests.hpp"

libspdm_return_t libspdm_init_connection(void* spdm_context,
                                         bool get_version_only)
{
    spdm::Context& context = *static_cast<spdm::Context*>(spdm_context);
    auto run = [&context](libspdm_return_t (*request)(spdm::Context&))
    {
        context.cryptoRequest = false;
        return request(context);
    };
    libspdm_return_t status = run(spdm::getVersion);
    if (LIBSPDM_STATUS_IS_ERROR(status) || get_version_only)
    {
        return status;
    }
    status = run(spdm::getCapabilities);
    return LIBSPDM_STATUS_IS_ERROR(status) ? status
                                           : run(spdm::negotiateAlgorithms);
}
