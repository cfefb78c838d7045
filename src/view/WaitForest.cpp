// SPDX-License-Identifier: MIT
#include "view/WaitForest.h"

#include <algorithm>
#include <unordered_map>

#include "record/Codes.h"
#include "record/Waits.h"

namespace vexo {
namespace {

// A client as files name it.
template <typename Item>
std::uint64_t clientOf(const Item& item) {
    return std::uint64_t{item.client} << 32U | item.clientIndex;
}

struct ClientFacts {
    std::uint32_t candidates = 0;
    std::uint32_t locking = 0;
};

// What the handles of one file tell about those who wait for it.
struct FileFacts {
    std::vector<std::uint32_t> holders;  // the likeliest first, of like ones those who wait elsewhere
    std::unordered_map<std::uint64_t, ClientFacts> clients;  // those who may hold anything
    std::uint32_t locking = 0;                               // handles that may lock records, waiting ones as well
    std::uint32_t exclusive = 0;
    std::uint32_t notWaiting = 0;
};

class Forest {
public:
    explicit Forest(const Record& record) : m_record(record), m_nodes(record.waits.size()) {}

    std::vector<WaitNode> grow() {
        for (std::uint32_t wait = 0; wait < m_nodes.size(); ++wait)
            noteWaiter(wait);
        learnFiles();
        for (std::uint32_t wait = 0; wait < m_nodes.size(); ++wait)
            findHolder(wait);
        cutCycles();
        measure();
        return std::move(m_nodes);
    }

private:
    // Of a client that waits more than once, the longest wait counts.
    void noteWaiter(std::uint32_t wait) {
        const auto [known, fresh] = m_waiters.try_emplace(clientOf(m_record.waits[wait]), wait);
        if (!fresh && m_record.waits[known->second].waitedMs < m_record.waits[wait].waitedMs) known->second = wait;
    }

    // Looks at the files that somebody waits for, all in one pass.
    void learnFiles() {
        for (const WaitItem& wait : m_record.waits)
            m_files.try_emplace(wait.file);
        for (const FileItem& file : m_record.files) {
            const auto known = m_files.find(file.name);
            if (known == m_files.end()) continue;
            for (std::uint32_t place = file.handles.first; place < file.handles.first + file.handles.count; ++place)
                learn(known->second, place);
        }
        for (auto& [name, facts] : m_files)
            sortHolders(facts.holders);
    }

    void learn(FileFacts& facts, std::uint32_t place) const {
        const FileHandleItem& handle = m_record.fileHandles[place];
        const Holding holding = holdingOf(handle.state);
        if (holding != Holding::kNone) {
            facts.holders.push_back(place);
            ++facts.clients[clientOf(handle)].candidates;
        }
        facts.exclusive += holding == Holding::kExclusive ? 1U : 0U;
        facts.notWaiting += waits(handle.state) ? 0U : 1U;
        if (handle.state.recordLock == kNoLock) return;
        ++facts.locking;
        ++facts.clients[clientOf(handle)].locking;
    }

    void sortHolders(std::vector<std::uint32_t>& holders) const {
        const auto order = [&](std::uint32_t place) {
            const FileHandleItem& handle = m_record.fileHandles[place];
            return std::pair(holdingOf(handle.state), m_waiters.count(clientOf(handle)) == 0);
        };
        std::stable_sort(holders.begin(), holders.end(),
                         [&](std::uint32_t left, std::uint32_t right) { return order(left) < order(right); });
    }

    void findHolder(std::uint32_t wait) {
        const WaitItem& item = m_record.waits[wait];
        const FileFacts& facts = m_files.at(item.file);
        WaitNode& node = m_nodes[wait];
        const auto known = facts.clients.find(clientOf(item));
        const ClientFacts own = known == facts.clients.end() ? ClientFacts{} : known->second;
        node.candidates = static_cast<std::uint32_t>(facts.holders.size()) - own.candidates;
        const auto holder = std::find_if(facts.holders.begin(), facts.holders.end(), [&](std::uint32_t place) {
            return clientOf(m_record.fileHandles[place]) != clientOf(item);
        });
        if (holder == facts.holders.end()) return;
        node.holder = *holder;
        node.isCertain = own.candidates == 0 && isCertain(facts, item, own, m_record.fileHandles[*holder].state);
        const auto above = m_waiters.find(clientOf(m_record.fileHandles[*holder]));
        if (above != m_waiters.end()) node.parent = above->second;
    }

    // A record is held by a handle that locks, a whole file by one that has it for itself, or by the only one that does not
    // wait. Without all handles in the record nothing is certain but for those that it lists in any case.
    bool isCertain(const FileFacts& facts, const WaitItem& wait, const ClientFacts& own,
                   const HandleState& holder) const {
        const bool isOnlyExclusive = facts.exclusive == (isExclusive(holder) ? 1U : 0U);
        if (wait.waitState == kWaitsForRecord) {
            return locks(holder) && facts.locking - own.locking == 1 && isOnlyExclusive;
        }
        if (isExclusive(holder)) return isOnlyExclusive;
        return m_record.scope == HandleScope::kAll && facts.notWaiting == 1;
    }

    static bool isExclusive(const HandleState& state) { return holdingOf(state) == Holding::kExclusive; }

    // Where a way up comes back to where it began, the longest wait on it becomes a root.
    void cutCycles() {
        std::vector<std::uint32_t> seenFrom(m_nodes.size(), kNowhere);
        for (std::uint32_t start = 0; start < m_nodes.size(); ++start) {
            std::uint32_t place = start;
            while (place != kNowhere && seenFrom[place] == kNowhere) {
                seenFrom[place] = start;
                place = m_nodes[place].parent;
            }
            if (place != kNowhere && seenFrom[place] == start) cut(place);
        }
    }

    void cut(std::uint32_t start) {
        std::uint32_t longest = start;
        for (std::uint32_t place = m_nodes[start].parent; place != start; place = m_nodes[place].parent)
            if (m_record.waits[place].waitedMs > m_record.waits[longest].waitedMs) longest = place;
        m_nodes[longest].parent = kNowhere;
        m_nodes[longest].closesCycle = true;
    }

    void measure() {
        std::vector<std::uint32_t> way;
        std::vector<bool> done(m_nodes.size(), false);
        for (std::uint32_t start = 0; start < m_nodes.size(); ++start) {
            for (std::uint32_t place = start; place != kNowhere && !done[place]; place = m_nodes[place].parent)
                way.push_back(place);
            for (; !way.empty(); way.pop_back()) {
                const std::uint32_t parent = m_nodes[way.back()].parent;
                m_nodes[way.back()].depth = parent == kNowhere ? 0 : m_nodes[parent].depth + 1;
                done[way.back()] = true;
            }
        }
        // The deepest first, so that each tells all that is below it.
        for (std::uint32_t place = 0; place < m_nodes.size(); ++place)
            way.push_back(place);
        std::sort(way.begin(), way.end(),
                  [&](std::uint32_t left, std::uint32_t right) { return m_nodes[left].depth > m_nodes[right].depth; });
        for (const std::uint32_t place : way)
            if (m_nodes[place].parent != kNowhere) m_nodes[m_nodes[place].parent].blocked += m_nodes[place].blocked + 1;
    }

    const Record& m_record;
    std::vector<WaitNode> m_nodes;
    std::unordered_map<std::uint64_t, std::uint32_t> m_waiters;  // the wait of each client that waits
    std::unordered_map<NameId, FileFacts> m_files;
};

}  // namespace

std::vector<WaitNode> waitForest(const Record& record) {
    return Forest(record).grow();
}

}  // namespace vexo
