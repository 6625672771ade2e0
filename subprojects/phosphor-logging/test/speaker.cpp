// SPDX-License-Identifier: Apache-2.0
#include <phosphor-logging/lg2.hpp>

int main()
{
    lg2::error("first {N}", "N", 1);
#line 42 "speaker.cpp"
    lg2::debug("second\n{N}", "N", 2);
}
