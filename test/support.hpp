// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

/** What `body` prints on standard output through stdio.
 *
 *  An exception of `body` passes on after the output has been put back.
 */
std::string printedBy(const std::function<void()>& body);
