// SPDX-License-Identifier: Apache-2.0
// What nearly every test reads, compiled once.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>
