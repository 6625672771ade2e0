#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

/** What the front end does for each operation word.
 *
 *  Each takes the connection and the command line, prints its results and its
 *  failures, and returns true on success. Exceptions that leave one are the
 *  front end's to report.
 */
namespace operation
{

bool list(const DbusConnPtr& bus, Options& options);
bool show(const DbusConnPtr& bus, Options& options);
bool createOrEdit(const DbusConnPtr& bus, Options& options);
bool deleteVolume(const DbusConnPtr& bus, Options& options);
bool clear(const DbusConnPtr& bus, Options& options);
bool driveAction(const DbusConnPtr& bus, Options& options);
bool showI2C(const DbusConnPtr& bus, Options& options);
bool enableMctp(const DbusConnPtr& bus, Options& options);
bool discover(const DbusConnPtr& bus, Options& options);
bool event(const DbusConnPtr& bus, Options& options);
bool ttyLog(const DbusConnPtr& bus, Options& options);
bool update(const DbusConnPtr& bus, Options& options);
bool attest(const DbusConnPtr& bus, Options& options);

} // namespace operation
