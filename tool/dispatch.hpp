#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

/** Run the one operation that `-o` names.
 *
 *  @param[in,out] options may gain parameters that follow from the file name
 *  @return true on success; what went wrong has been printed
 *  @throw std::exception as the operation lets it out
 */
bool dispatch(const DbusConnPtr& bus, Options& options);
