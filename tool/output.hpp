// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <string_view>

/** Standard output: where results and messages for the user go.
 *
 *  Text is buffered by stdio and goes out at the latest before the tool waits
 *  for somebody else (a bus call, a signal, a timer) and when it ends. A write
 *  that fails is remembered and turns a success into a failure.
 */
namespace tool::out
{

/** Make sure that descriptors 0 to 2 are taken.
 *
 *  Started with standard output closed, the first socket that is opened would
 *  get its number and the printed text would go to the bus. The stand-in for a
 *  closed standard output refuses writing, so that the loss is noticed.
 */
void guardStandardStreams() noexcept;

/** Print a line, which others may have written, and end it.
 *
 *  A terminal gets "?" for each control character in it: only the end of the
 *  line is the tool's own.
 */
void line(std::string_view text);

/** The same in pieces. */
void line(std::initializer_list<std::string_view> pieces);

/** The same without the end of the line. */
void foreign(std::string_view text);

/** Write the tool's own text as it stands, on a terminal too. */
void write(std::string_view text) noexcept;

/** Print a line on standard error, with nothing held back. */
void errorLine(std::initializer_list<std::string_view> pieces);

/** Hand everything printed so far to the system. */
void flush() noexcept;

/** Write every piece as it comes from here on, without a buffer. */
void unbuffer() noexcept;

/** Flush, and say on standard error when standard output could not be written.
 *
 *  @return `status`, or 255 when `status` is 0 but output was lost
 */
int finish(int status);

/** End the process from inside a handler, with finish()'s status. */
[[noreturn]] void exitProcess(int status);

} // namespace tool::out
