// SPDX-License-Identifier: MIT
#include "output/Logger.h"

#include <utility>

#include "foundation/Directory.h"
#include "foundation/Encoding.h"
#include "foundation/Exception.h"
#include "util/Utils.h"

namespace vexo {
namespace {

// `path` as messages name it: a bare name with the current directory before it, where the system can tell it.
String fullPath(const String& path) {
    if (path.find(kDirectorySeparator) != String::npos) return path;
    String directory = currentDirectory();
    if (!directory.empty() && directory.back() != kDirectorySeparator) directory += kDirectorySeparator;
    return directory + path;
}

}  // namespace

Logger::Logger(const char* bundleName, const char* keyPrefix)
    : m_messages(makeRef<MessageHelper>(bundleName, keyPrefix)) {
}

Logger::Logger() : Logger("KORA", "KORA_") {
}

void Logger::addStdOutHandler() {
    m_handlers.push_back(TextWriter::onStandardOutput(TextWriter::Flushing::kByHand));
}

void Logger::addFileHandler(const String& path) {
    if (const ResultCode failed = Utils::createDirs(path)) throwError(failed, path);
    try {
        m_handlers.push_back(makeRef<TextWriter>(openLogFile(path), path, TextWriter::Flushing::kByHand));
    } catch (const Exception& failure) {
        throwError(failure.code(), fullPath(path));
    }
}

void Logger::setLevel(StringView name) {
    struct NamedLevel {
        StringView name;
        Level level;
    };
    constexpr NamedLevel kNames[] = {
        {L"SEVERE",  Level::kSevere },
        {L"WARNING", Level::kWarning},
        {L"INFO",    Level::kInfo   },
        {L"CONFIG",  Level::kConfig },
        {L"FINE",    Level::kFine   },
        {L"FINER",   Level::kFiner  },
        {L"FINEST",  Level::kFinest },
        {L"ALL",     Level::kAll    }
    };
    for (const NamedLevel& known : kNames) {
        if (equalsIgnoreCase(name, known.name)) return setLevel(known.level);
    }
    setLevel(Level::kNothing);
}

void Logger::log(Level level, StringView message) {
    if (m_threshold > level) return;
    for (const Ref<TextWriter>& handler : m_handlers) {
        handler->writeLine(message);
        handler->flush();
    }
}

void Logger::throwError(ResultCode status, const String& path) const {
    if (status != kAccessDenied && status != kFileNotFound) throw ResultException(status);
    // Established output: a refused access gives no reason, though there is a text for it.
    const String reason = status == kFileNotFound ? m_messages->getResStr("FILE_NOT_FOUND_ERROR") : String();
    throw IOException(m_messages->getResStr("ERR_CREATE_FILE", narrow(path).c_str(), narrow(reason).c_str(), status),
                      status);
}

}  // namespace vexo
