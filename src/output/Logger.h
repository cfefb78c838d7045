// SPDX-License-Identifier: MIT
// The single sink of report lines: writes each of them, as it is, to standard output, a log file or both.
#ifndef VEXO_OUTPUT_LOGGER_H
#define VEXO_OUTPUT_LOGGER_H

#include <vector>

#include "foundation/Ref.h"
#include "foundation/ResultCode.h"
#include "foundation/String.h"
#include "foundation/TextWriter.h"
#include "messages/MessageHelper.h"
#include "output/Level.h"

namespace vexo {

// A new logger has no handler and lets nothing through. Not for use by two threads at once. The monitor writes at level
// INFO only; the other levels belong to the published interface.
class Logger : public RefCounted {
public:
    // The bundle gives the texts of throwError().
    Logger(const char* bundleName, const char* keyPrefix);
    Logger();

    void addStdOutHandler();
    // Creates the directories of the path and empties or creates the file. Throws as throwError() does.
    void addFileHandler(const String& path);

    void setLevel(Level level) { m_threshold = level; }
    // By name, in any case; any other name silences the logger.
    void setLevel(StringView name);

    // Writes `message` and a line feed to every handler, in the order they were added, if `level` reaches the
    // threshold. Throws StreamException when a handler fails; the lines of those before it stay written.
    void log(Level level, StringView message);
    // The published operations, one for each level; the reports need info() and, for errors, severe().
    void severe(StringView message) { log(Level::kSevere, message); }
    void warning(StringView message) { log(Level::kWarning, message); }
    void info(StringView message) { log(Level::kInfo, message); }
    void config(StringView message) { log(Level::kConfig, message); }
    void fine(StringView message) { log(Level::kFine, message); }
    void finer(StringView message) { log(Level::kFiner, message); }
    void finest(StringView message) { log(Level::kFinest, message); }

    // Raises the error for a log file that could not be created: IOException with a text for "access denied" and
    // "not found", ResultException without one for any other status.
    [[noreturn]] void throwError(ResultCode status, const String& path) const;

private:
    Level m_threshold = Level::kNothing;
    std::vector<Ref<TextWriter>> m_handlers;
    const Ref<MessageHelper> m_messages;
};

}  // namespace vexo

#endif
