#pragma once

#include <initializer_list>
#include <string_view>

/** Standard output: where results and messages for the user go.
 *
 *  Text is buffered by stdio and goes out at the latest before the tool waits
 *  for somebody else (a bus call, a signal, a timer) and when it ends. A write
 *  that fails is remembered and turns a success into a failure.
 *
 *  On a terminal, control characters in text that others wrote are shown as
 *  "?" (see io::terminal); into a pipe or a file each byte goes as it is.
 */
namespace io::out
{

/** Make sure that descriptors 0 to 2 are taken.
 *
 *  Started with standard output closed, the first socket that is opened would
 *  get its number and the printed text would go to the bus. The stand-in for a
 *  closed standard output refuses writing, so that the loss is noticed.
 */
void guardStandardStreams() noexcept;

/** Print as printf does.
 *
 *  Others may have written the arguments. Of the line feeds, those that the
 *  format begins or ends with are the tool's own; it has none in its middle.
 */
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...) noexcept;

/** Write the tool's own text as it stands, on a terminal too. */
void write(std::string_view text) noexcept;

/** Write the pieces, which others may have written, one after the other, and
 *  end the line. */
void line(std::initializer_list<std::string_view> pieces) noexcept;

/** The same on standard error, with nothing held back. */
void errorLine(std::initializer_list<std::string_view> pieces) noexcept;

/** Hand everything printed so far to the system. */
void flush() noexcept;

/** Write every piece as it comes from here on, without a buffer. */
void unbuffer() noexcept;

/** Flush, and say on standard error when standard output could not be written.
 *
 *  @return `status`, or 255 when `status` is 0 but output was lost
 */
int finish(int status) noexcept;

/** End the process from inside a handler, with finish()'s status. */
[[noreturn]] void exitProcess(int status);

} // namespace io::out
