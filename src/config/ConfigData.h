// SPDX-License-Identifier: MIT
// The settings of one run.
#ifndef VEXO_CONFIG_CONFIGDATA_H
#define VEXO_CONFIG_CONFIGDATA_H

#include <cstdint>

#include "foundation/String.h"

namespace vexo {

struct ConfigData {
    virtual ~ConfigData() = default;

    String server;
    String userName;                // may be empty
    String password;                // may be empty
    std::int32_t refreshRate = 0;   // seconds between two records; 0 refreshes on request only
    std::int32_t refreshLimit = 0;  // records after which the monitor stops; 0 is no limit
    String outputType;              // as written in the file
    bool consoleOutput = false;
    bool fileOutput = false;
    String logFileName;
    bool showFiles = false;
    bool showSessions = false;
    bool showConnections = false;
    bool showResources = false;
    bool showCommunications = false;
    bool showHandles = false;  // the handles inside the reports on files and sessions
};

}  // namespace vexo

#endif
