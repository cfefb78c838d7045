// SPDX-License-Identifier: MIT
// The exported functions of the usage and communication statistics.
#include <algorithm>

#include "Library.h"

using namespace xrsim;

std::int16_t XrGetKesdUsageEx2(std::int32_t h, XRKESDUSAGE* usage) {
    constexpr Function kThis = Function::XrGetKesdUsageEx2;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, usage)) return kBadArgument;
            const Effect effect = library.playFaults(kThis);
            if (effect.status != kOk) return effect.status;
            library.engine().statistics.fillUsage(library.roundFor(Data::kUsage), *usage);
            return kOk;
        },
        [](Line&) {},
        [&](Line& line) {
            const auto group = [&](std::string_view name, std::uint32_t current, std::uint32_t peak, std::int64_t max) {
                line.text(name, std::to_string(current) + "/" + std::to_string(peak) + "/" + std::to_string(max));
            };
            group("users", usage->userCountCurrent, usage->userCountPeak, usage->userCountMax);
            group("files", usage->filesCurrent, usage->filesPeak, usage->filesMax);
            group("handles", usage->handlesCurrent, usage->handlesPeak, usage->handlesMax);
            group("transactions", usage->transactionsCurrent, usage->transactionsPeak, usage->transactionsMax);
            group("clients", usage->clientsCurrent, usage->clientsPeak, usage->clientsMax);
            group("workerThreads", usage->workerThreadsCurrent, usage->workerThreadsPeak, usage->workerThreadsMax);
            group("locks", usage->locksCurrent, usage->locksPeak, 0);
            group("dataInUseMB", usage->dataInUseMBCurrent, usage->dataInUseMBPeak, usage->dataInUseMBMax);
            group("sessions", usage->sessionCountCurrent, usage->sessionCountPeak, usage->sessionCountMax);
            line.number("engineUptimeSecs", usage->engineUptimeSecs);
        });
}

std::int16_t XrGetKesdCommStatEx(std::int32_t h, XRKESDCOMMSTAT* stat) {
    constexpr Function kThis = Function::XrGetKesdCommStatEx;
    Library& library = Library::instance();
    return library.call(
        kThis, h,
        [&]() -> Status {
            if (!library.hasRoom(kThis, stat)) return kBadArgument;
            const Effect effect = library.playFaults(kThis);
            if (effect.status != kOk) return effect.status;
            library.engine().statistics.fillCommunication(library.roundFor(Data::kCommunication), *stat);
            return kOk;
        },
        [](Line&) {},
        [&](Line& line) {
            line.number("totalRequestsProcessed", stat->totalRequestsProcessed);
            line.number("unshownCount1", stat->unshownCount1).number("unshownCount2", stat->unshownCount2);
            line.number("unshownCount3", stat->unshownCount3);
            line.number("remoteSessionsCurrent", stat->remoteSessionsCurrent);
            line.number("remoteSessionsPeak", stat->remoteSessionsPeak);
            line.number("remoteSessionsMax", stat->remoteSessionsMax);
            line.number("commThreadsCurrent", stat->commThreadsCurrent);
            line.number("commThreadsPeak", stat->commThreadsPeak);
            line.number("commThreadsMax", stat->commThreadsMax);
            line.number("protocolCount", stat->protocolCount);
            line.number("totalConnectionTimeouts", stat->totalConnectionTimeouts);
            line.number("totalConnectionRecoveries", stat->totalConnectionRecoveries);
            for (std::uint32_t i = 0; i < std::min<std::uint32_t>(stat->protocolCount, XR_MAX_PROTOCOLS); ++i) {
                const XRPROTOCOLSTAT& protocol = stat->protocols[i];
                line.number("protocolType", protocol.protocolType);
                line.number("requestsProcessed", protocol.requestsProcessed);
                line.number("remoteSessionsCurrent", protocol.remoteSessionsCurrent);
                line.number("remoteSessionsPeak", protocol.remoteSessionsPeak);
            }
        });
}
