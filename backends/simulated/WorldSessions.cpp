// SPDX-License-Identifier: MIT
#include "GeneratedHandle.h"
#include "TextField.h"
#include "World.h"

namespace xrsim {
namespace {

constexpr std::uint64_t kSessionLife = std::uint64_t{3} << 60;

const Pattern& clientText() {
    static const Pattern pattern("G{n}");
    return pattern;
}

bool isSame(const XRCLIENTID& a, const XRCLIENTID& b) {
    return a.idWord == b.idWord && a.taskNumber == b.taskNumber && textOf(a.text) == textOf(b.text);
}

}  // namespace

bool World::isConnected(std::size_t session, Round round) const {
    return m_scenario.sessions[session].lifetime.covers(round) &&
           m_scenario.life.isPresent(kSessionLife + session, round);
}

Snapshot World::sessions(Round round) const {
    std::vector<std::uint32_t> connected;
    for (std::uint32_t i = 0; i < m_scenario.sessions.size(); ++i) {
        if (isConnected(i, round)) connected.push_back(i);
    }
    return {round, std::move(connected), firstGenerated(round), m_scenario.generated.sessions};
}

void World::fillClient(Item session, XRCLIENTID& id) const {
    if (!session.generated) {
        id = m_scenario.sessions[session.number].id;
        return;
    }
    id.text[clientText().write(id.text, sizeof id.text - 1, session.number)] = '\0';
    id.idWord = static_cast<std::uint16_t>(session.number);
    id.taskNumber = 1;
}

std::optional<Item> World::findSession(const Snapshot& sessions, const XRCLIENTID& id) const {
    const auto isNamed = [&](std::uint32_t session) { return isSame(m_scenario.sessions[session].id, id); };
    if (const std::optional<Item> last = sessions.lastServed; last && !last->generated && isNamed(last->number)) {
        return sessions.holds(*last) ? last : std::nullopt;
    }
    if (const std::optional<std::uint32_t> number = clientText().numberIn(textOf(id.text))) {
        if (const Item session{*number, true}; sessions.holds(session)) return session;
    }
    for (const std::uint32_t session : sessions.written()) {
        if (const Item item{session, false}; isNamed(session) && sessions.holds(item)) return item;
    }
    return std::nullopt;
}

void World::fillSession(Item session, Round round, XRKESDCLIENTINFO& info) const {
    const Life& life = m_scenario.life;
    std::uint64_t activity = life.activity;
    if (!session.generated) {
        info = m_scenario.sessions[session.number].info;
        activity = m_scenario.sessions[session.number].activity;
        info.locksUsed = life.swung(info.locksUsed, session.number, round);
    } else {
        const std::uint64_t bits = life.random(session.number, 0);
        const Pattern& name = m_scenario.generated.sessionName;
        info.site = bits % 4 == 0 ? 1 : 0;
        info.sessionName[name.write(info.sessionName, sizeof info.sessionName - 1, session.number)] = '\0';
        info.spareCode = 0;
        info.recordsRead = static_cast<std::uint32_t>((bits >> 8) % 1'000'000);
        info.recordsInserted = info.recordsRead / 31;
        info.recordsUpdated = info.recordsRead / 17;
        info.recordsDeleted = info.recordsRead / 211;
        info.diskAccesses = info.recordsRead / 9;
        info.cacheAccesses = info.recordsRead + info.recordsRead / 2;
        info.locksUsed = static_cast<std::uint32_t>((bits >> 32) % 8);
        info.transactionState = (bits >> 40) % 16 == 0 ? 1019 : 0;
        info.pid = 2000 + session.number;
        info.connectionNumber = session.number + 1;
        putText(info.networkAddress, "generated");
    }
    const std::uint64_t item = kSessionLife + session.number;
    info.recordsRead = life.grown(info.recordsRead, activity, item, round);
    info.cacheAccesses = life.grown(info.cacheAccesses, activity + activity / 2, item, round);
    info.diskAccesses = life.grown(info.diskAccesses, activity / 9, item, round);
    info.recordsUpdated = life.grown(info.recordsUpdated, activity / 17, item, round);
    info.recordsInserted = life.grown(info.recordsInserted, activity / 31, item, round);
    info.recordsDeleted = life.grown(info.recordsDeleted, activity / 211, item, round);
}

std::uint32_t World::sessionHandles(Item session, Round round) const {
    if (session.generated) return generatedHandles(session, round, m_scenario.generated.handlesPerSession);
    return presentHandles(m_scenario.sessions[session.number].handles, round);
}

bool World::fillSessionHandle(Item session, Round round, std::uint32_t index, XRKESDCLIENTHANDLEINFO& info) const {
    if (!session.generated) {
        const Handle* handle = presentHandle(m_scenario.sessions[session.number].handles, round, index);
        if (!handle) return false;
        info.openMode = handle->openMode;
        info.recordLockType = handle->recordLock;
        info.waitState = handle->waitState;
        info.transactionState = handle->transactionState;
        putText(info.fileName, handle->name);
        return true;
    }
    if (index >= sessionHandles(session, round)) return false;
    const Generated& generated = m_scenario.generated;
    const std::uint64_t number = handleHeld(session.number, index, generated, firstGenerated(round));
    fillCodes(m_scenario.life, number, info);
    const std::uint32_t file = fileOf(number, generated);
    info.fileName[generated.fileName.write(info.fileName, sizeof info.fileName - 1, file)] = '\0';
    return true;
}

}  // namespace xrsim
