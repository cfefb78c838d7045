// SPDX-License-Identifier: MIT
#include "GeneratedHandle.h"
#include "TextField.h"
#include "World.h"

namespace xrsim {

// A file that sessions keep open is closed once the last of them has closed it.
bool World::isOpen(const File& file, Round round) const {
    if (!file.lifetime.covers(round)) return false;
    if (file.handles.empty() || !file.handles.front().holder) return true;
    return presentHandle(file.handles, round, 0) != nullptr;
}

Snapshot World::files(Round round) const {
    std::vector<std::uint32_t> open;
    for (std::uint32_t i = 0; i < m_scenario.files.size(); ++i) {
        if (isOpen(m_scenario.files[i], round)) open.push_back(i);
    }
    return {round, std::move(open), firstGenerated(round), m_scenario.generated.files};
}

std::string_view World::fileName(Item file, char (&buffer)[XR_NAME_SIZE]) const {
    if (!file.generated) return m_scenario.files[file.number].name;
    return {buffer, m_scenario.generated.fileName.write(buffer, sizeof buffer, file.number)};
}

std::optional<Item> World::findFile(const Snapshot& files, std::string_view name) const {
    const auto isNamed = [&](std::uint32_t file) { return nameKey(m_scenario.files[file].name) == name; };
    if (const std::optional<Item> last = files.lastServed; last && !last->generated && isNamed(last->number)) {
        return files.holds(*last) ? last : std::nullopt;
    }
    if (const std::optional<std::uint32_t> number = m_scenario.generated.fileName.numberIn(name)) {
        if (const Item file{*number, true}; files.holds(file)) return file;
    }
    for (const std::uint32_t file : files.written()) {
        if (const Item item{file, false}; isNamed(file) && files.holds(item)) return item;
    }
    return std::nullopt;
}

void World::fillFile(Item file, Round round, XRFILEINFO& info) const {
    const Life& life = m_scenario.life;
    if (!file.generated) {
        info = m_scenario.files[file.number].info;
        info.physicalFileSizeKB =
            life.grown(info.physicalFileSizeKB, info.physicalFileSizeKB / 4096, file.number, round);
        return;
    }
    const std::uint64_t bits = life.random(file.number, 0);
    info.readLocks = bits % 8 == 0 ? 'Y' : 'N';
    info.transactionLock = (bits >> 3) % 16 == 0 ? 'Y' : 'N';
    info.readOnlyFlag = (bits >> 7) % 8 == 0 ? 'Y' : 'N';
    info.pageSize = 512U << ((bits >> 10) % 6);
    info.physicalFileSizeKB = life.grown(static_cast<std::uint32_t>(bits >> 44), 4, file.number, round);
}

std::uint32_t World::fileHandles(Item file, Round round) const {
    if (file.generated) return generatedHandles(file, round, m_scenario.generated.handlesPerFile);
    return presentHandles(m_scenario.files[file.number].handles, round);
}

bool World::fillFileHandle(Item file, Round round, std::uint32_t index, XRFILEHANDLEINFO& info) const {
    if (!file.generated) {
        const Handle* handle = presentHandle(m_scenario.files[file.number].handles, round, index);
        if (!handle) return false;
        info.clientIndex = handle->clientIndex;
        info.openMode = handle->openMode;
        info.recordLockType = handle->recordLock;
        info.waitState = handle->waitState;
        info.transactionState = handle->transactionState;
        putText(info.clientName, handle->name);
        return true;
    }
    if (index >= fileHandles(file, round)) return false;
    const Generated& generated = m_scenario.generated;
    const std::uint64_t number = std::uint64_t{file.number} * generated.handlesPerFile + index;
    fillCodes(m_scenario.life, number, info);
    info.clientIndex = holderOf(number, generated, firstGenerated(round));
    info.clientName[generated.sessionName.write(info.clientName, sizeof info.clientName - 1, info.clientIndex)] = '\0';
    return true;
}

}  // namespace xrsim
