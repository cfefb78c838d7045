// SPDX-License-Identifier: MIT
#include "Library.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "ScenarioReader.h"

namespace xrsim {
namespace {

// Waits the whole time, also through signals. False when a signal ended an interruptible wait.
bool delay(std::uint32_t milliseconds, bool interruptible) {
    timespec left{};
    left.tv_sec = milliseconds / 1000;
    left.tv_nsec = milliseconds % 1000 * 1'000'000L;
    while (milliseconds != 0 && ::nanosleep(&left, &left) != 0) {
        if (interruptible) return false;
    }
    return true;
}

void crash(Crash how) {
    if (how == Crash::kAbort) std::abort();
    if (how != Crash::kBadAccess) return;
    // Not raise(): a real fault occurs again when a handler returns, so the process cannot go on.
    void* page = ::mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    *static_cast<volatile char*>(page) = 0;
}

}  // namespace

Library& Library::instance() {
    static Library library;
    return library;
}

void Library::enter(Function function) {
    // XrStart opens the trace that the environment names now; a call before it is misuse and has to be traced too.
    if (function == Function::XrStart || !m_check.isStarted()) m_trace.open();
    m_check.calledFrom(function, std::this_thread::get_id());
}

Status Library::start() {
    const Status status = m_check.start(std::this_thread::get_id());
    if (status != kOk) return status;
    load();
    return m_engine ? playFaults(Function::XrStart).status : kScenarioWrong;
}

void Library::load() {
    const char* named = std::getenv("XRSIM_SCENARIO");
    m_engine.reset();
    m_connectionIsLost = false;
    m_round = 1;
    std::fill(std::begin(m_servedRounds), std::end(m_servedRounds), 0);
    try {
        if (named && *named != '\0') {
            m_engine.emplace(readScenarioFile(named));
        } else {
            m_engine.emplace(readScenario(demoScenario(), "shop.toml"));
        }
    } catch (const std::runtime_error& mistake) {
        std::fprintf(stderr, "%s\n", mistake.what());
    }
}

void Library::dropSnapshots(Function function) {
    for (Snapshot* snapshot : {&m_files, &m_clients, &m_connections}) {
        if (snapshot->isHeld()) m_check.misuse(function, "a snapshot was never freed");
        *snapshot = Snapshot();
    }
}

Status Library::stop() {
    const Status status = m_check.stop();
    if (status != kOk) return status;
    dropSnapshots(Function::XrStop);
    const Status failure = m_engine ? playFaults(Function::XrStop).status : kOk;
    m_engine.reset();
    return failure;
}

Status Library::connect(std::string_view server, std::string_view user, std::string_view password, std::int32_t& h) {
    const Status outOfOrder = m_check.connecting();
    if (outOfOrder != kOk) return outOfOrder;
    Status status = kOk;
    if (!m_engine) {
        status = kScenarioWrong;
    } else {
        status = playFaults(Function::XrConnectServer).status;
        if (status == kOk) status = m_engine->world.admits(server, user, password);
    }
    if (status != kOk) {
        m_check.refused();
        return status;
    }
    m_connectionIsLost = false;
    h = ++m_lastHandle;
    m_check.connected(h);
    return kOk;
}

Status Library::disconnect(std::int32_t h) {
    const Status status = m_check.disconnecting(h);
    if (status != kOk) return status;
    dropSnapshots(Function::XrDisconnect);
    m_connectionIsLost = false;
    return m_engine ? playFaults(Function::XrDisconnect).status : kOk;
}

Status Library::admit(Function function, std::int32_t h) {
    const Status status = m_check.handle(function, h);
    if (status != kOk) return status;
    if (!m_engine) return kScenarioWrong;
    if (!m_connectionIsLost) return kOk;
    // Snapshots lie in the library, so they are freed after the connection was lost as well.
    if (function == Function::XrFreeOpenFilesData) m_files = Snapshot();
    if (function == Function::XrFreeKesdClientsData) m_clients = Snapshot();
    if (function == Function::XrFreeSQLConnectionsData) m_connections = Snapshot();
    return kConnectionLost;
}

Effect Library::strike(Function function, std::optional<std::uint32_t> index, std::optional<std::string_view> name) {
    Effect effect = m_engine->faults.effectOn(function, index, name);
    if (!delay(effect.delayMs, effect.isInterruptible)) effect.status = kInterrupted;
    crash(effect.crash);
    if (effect.losesConnection) {
        m_connectionIsLost = true;
        if (effect.status == kOk) effect.status = kConnectionLost;
    }
    return effect;
}

Round Library::roundFor(Data data) {
    Round& served = m_servedRounds[static_cast<std::size_t>(data)];
    if (served == m_round) ++m_round;
    served = m_round;
    return m_round;
}

bool Library::hasRoom(Function function, bool given) const {
    if (!given) m_check.misuse(function, "an argument is NULL");
    return given;
}

void Library::needs(Function function, const Snapshot& snapshot) const {
    if (!snapshot.isHeld()) m_check.misuse(function, "no snapshot is held");
}

Status Library::free(Function function, Snapshot& snapshot) {
    const bool held = snapshot.isHeld();
    needs(function, snapshot);
    snapshot = Snapshot();
    const Status failure = playFaults(function).status;
    if (failure != kOk) return failure;
    return held ? kOk : kOutOfOrder;
}

}  // namespace xrsim
