#pragma once

#include "io/common/src/Options.hpp"

/** Read the command line; a later repetition of an option wins.
 *
 *  A number that its field does not hold counts as not given.
 *
 *  @return false when the usage text is wanted: `-h`, an unknown option, or an
 *          option without its argument (getopt has then said so on standard
 *          error)
 */
bool parseOptions(int argc, char* argv[], Options& options);

/** The first word that belongs to no option, null when there is none.
 *
 *  To be asked once parseOptions() has returned true.
 */
const char* unexpectedArgument(int argc, char* const argv[]);
