// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

/** Give this process a /run of its own, in a mount namespace. Ends the program
 *  where that is not allowed, since nothing could be tested then. */
void enterPrivateRun();

using Fields = std::vector<std::pair<std::string, std::string>>;

/** Stands where the journal's socket stands while the object lives. */
class Journal
{
  public:
    Journal();
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /** The oldest record that was not taken yet, its fields in order; empty
     *  where there is none. Never waits: a record is there once it is sent. */
    Fields take();

  private:
    int socket;
};

/** The value of a field; fails the test where it is not there once. */
std::string valueOf(const Fields& record, const std::string& name);
