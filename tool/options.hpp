#pragma once

#include "io/common/src/Options.hpp"

/** Read the command line; a later repetition of an option wins.
 *
 *  @return false when the usage text is wanted: `-h`, an unknown option, or an
 *          option without its argument (getopt has then said so on standard
 *          error)
 */
bool parseOptions(int argc, char* argv[], Options& options);
