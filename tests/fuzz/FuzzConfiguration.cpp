// SPDX-License-Identifier: MIT
// Any bytes as a configuration file: settings or a clear error come out, and the settings keep their ranges.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "config/ConfigException.h"
#include "config/ConfigFileReader.h"
#include "foundation/FileDescriptor.h"
#include "foundation/Piece.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vexo;
    const FileDescriptor file(::memfd_create("configuration", 0));
    if (::write(file.get(), data, size) != static_cast<ssize_t>(size)) return 0;
    try {
        const auto settings = ConfigFileReader(concat(L"/proc/self/fd/", file.get())).readConfiguration();
        const bool good = !settings->server.empty() && !settings->outputType.empty() &&
                          !settings->logFileName.empty() &&
                          (settings->refreshRate == 0 || settings->refreshRate >= 5) && settings->refreshLimit >= 0 &&
                          (settings->refreshRate != 0 || settings->refreshLimit == 0) &&
                          (settings->consoleOutput || settings->fileOutput);
        if (!good) std::abort();
    } catch (const ConfigException& error) {
        if (error.message().empty()) std::abort();
    }
    return 0;
}
