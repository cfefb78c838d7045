// SPDX-License-Identifier: MIT
#include "Locks.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>

namespace xr::postgres {

namespace {

using SessionIndex = std::uint32_t;
using ObjectIndex = std::uint32_t;

// Rows of a relation that somebody waits for. One whose place is unknown goes by the transaction that is waited for.
std::uint64_t rowAt(const LockTag& tag) {
    return (std::uint64_t{tag.page} << 16U) | tag.tuple;
}
std::uint64_t rowOf(std::uint32_t transaction) {
    return (std::uint64_t{1} << 63U) | transaction;
}

// All that a session has of one relation or other object.
struct Held {
    Strength granted = kNone;
    Strength asked = kNone;
    bool goesWithRows = false;
    WaitState wait = WaitState::kNone;
    std::set<std::uint64_t> rows;
};

LockTag relationOf(const LockTag& tag) {
    LockTag relation;
    relation.database = tag.database;
    relation.relation = tag.relation;
    return relation;
}

// The first waiter for a row holds a lock on its place while it waits for the transaction that has the row.
struct Ticket {
    ObjectIndex relation = 0;
    std::uint64_t row = 0;
};

class Joiner {
public:
    Joiner(const Activity& activity, std::uint32_t ownPid) : m_activity(activity) {
        addProcesses(ownPid);
        addPrepared();
        m_owners.reserve(activity.locks.size());
        for (const LockRow& lock : activity.locks)
            m_owners.push_back(ownerOf(lock));
    }

    LockPicture join() {
        eachLock([this](SessionIndex session, const LockRow& lock) { addRelation(session, lock); });
        eachLock([this](SessionIndex session, const LockRow& lock) {
            if (!lock.granted) addWait(session, lock);
        });
        eachLock([this](SessionIndex session, const LockRow& lock) {
            if (lock.granted) addHolder(session, lock);
        });
        return takePicture();
    }

private:
    template <typename Take>
    void eachLock(const Take& take) {
        for (std::size_t index = 0; index < m_owners.size(); ++index)
            if (m_owners[index]) take(*m_owners[index], m_activity.locks[index]);
    }

    // Parallel workers belong to the session that they work for.
    void addProcesses(std::uint32_t ownPid) {
        for (const Process& process : m_activity.processes) {
            if (process.leader != process.pid || process.pid == ownPid) continue;
            m_sessionOf.emplace(process.pid, static_cast<SessionIndex>(m_sessions.size()));
            m_sessions.emplace_back().process = &process;
            m_sessions.back().inTransaction = process.inTransaction;
        }
        for (const Process& process : m_activity.processes) {
            const auto leader = m_sessionOf.find(process.leader);
            if (process.leader != process.pid && leader != m_sessionOf.end())
                m_sessionOf.emplace(process.pid, leader->second);
        }
    }

    // Locks of prepared transactions have no process; what tells them apart is the virtual transaction that they once were.
    void addPrepared() {
        std::unordered_map<std::uint32_t, SessionIndex> byTransaction;
        for (const PreparedTransaction& prepared : m_activity.prepared) {
            byTransaction.emplace(prepared.transaction, static_cast<SessionIndex>(m_sessions.size()));
            m_sessions.emplace_back().prepared = &prepared;
            m_sessions.back().inTransaction = true;
        }
        for (const LockRow& lock : m_activity.locks) {
            if (lock.pid != 0 || lock.tag.type != LockType::kTransaction) continue;
            const auto session = byTransaction.find(lock.tag.transaction);
            if (session != byTransaction.end()) m_preparedOf.emplace(lock.owner, session->second);
        }
    }

    std::optional<SessionIndex> ownerOf(const LockRow& lock) const {
        if (lock.pid == 0) {
            const auto prepared = m_preparedOf.find(lock.owner);
            return prepared == m_preparedOf.end() ? std::nullopt : std::optional(prepared->second);
        }
        const auto session = m_sessionOf.find(lock.pid);
        return session == m_sessionOf.end() ? std::nullopt : std::optional(session->second);
    }

    ObjectIndex objectOf(const LockTag& tag) {
        if (tag.type == LockType::kRelation) return relationObject(tag);
        const auto [found, isNew] = m_awaitedOf.emplace(tag, static_cast<ObjectIndex>(m_objects.size()));
        if (isNew) m_objects.push_back(tag);
        return found->second;
    }

    // Of relations there are many locks, and their tag is short.
    ObjectIndex relationObject(const LockTag& tag) {
        const std::uint64_t key = (std::uint64_t{tag.database} << 32U) | tag.relation;
        const auto [found, isNew] = m_relationOf.emplace(key, static_cast<ObjectIndex>(m_objects.size()));
        if (isNew) m_objects.push_back(relationOf(tag));
        return found->second;
    }

    Held& held(SessionIndex session, ObjectIndex object) { return m_held[{session, object}]; }

    // Counts the lock, and notes what is known of relations without looking at anybody else's locks.
    void addRelation(SessionIndex session, const LockRow& lock) {
        const LockType type = lock.tag.type;
        if (lock.granted) addGranted(m_sessions[session], type);
        if (type == LockType::kTransaction && lock.granted && lock.strength == kExclusiveMode)
            m_holderOf.emplace(lock.tag.transaction, session);
        if (type == LockType::kRelation) addRelationLock(held(session, objectOf(lock.tag)), lock);
        if (type == LockType::kTuple) addTupleLock(session, lock);
    }

    // Each open transaction has a virtual one. Where the server keeps no track of sessions, nothing else tells of it.
    static void addGranted(LockSession& session, LockType type) {
        if (type != LockType::kVirtualTransaction) {
            ++session.locksUsed;
        } else if (session.process && !session.process->isTracked()) {
            session.inTransaction = true;
        }
    }

    static void addRelationLock(Held& held, const LockRow& lock) {
        Strength& strength = lock.granted ? held.granted : held.asked;
        strength = std::max(strength, lock.strength);
        if (!lock.granted) held.wait = WaitState::kFile;
        if (lock.granted && goesWithRows(lock.strength)) held.goesWithRows = true;
    }

    void addTupleLock(SessionIndex session, const LockRow& lock) {
        const ObjectIndex relation = objectOf(relationOf(lock.tag));
        Held& handle = held(session, relation);
        if (lock.granted) {
            handle.rows.insert(rowAt(lock.tag));
            m_ticketOf[session] = {relation, rowAt(lock.tag)};
        } else {
            handle.wait = std::max(handle.wait, WaitState::kRecord);
        }
    }

    void addWait(SessionIndex session, const LockRow& lock) {
        switch (lock.tag.type) {
            case LockType::kRelation:
            case LockType::kTuple:
                return;
            case LockType::kExtend:
            case LockType::kPage:
            case LockType::kFrozenId:
                if (lock.tag.relation == 0) return addAwaited(session, lock, WaitState::kFile);
                held(session, objectOf(relationOf(lock.tag))).wait = WaitState::kFile;
                return;
            case LockType::kTransaction:
                return addWaitForTransaction(session, lock);
            case LockType::kSpeculative:
                return addAwaited(session, lock, WaitState::kRecord);
            default:
                return addAwaited(session, lock, WaitState::kFile);
        }
    }

    // Who waits for a row waits for the transaction that has it. On which table that is, is told by the ticket of the first
    // waiter; without one, by the only table in which both of them lock rows.
    void addWaitForTransaction(SessionIndex waiter, const LockRow& lock) {
        const auto found = m_holderOf.find(lock.tag.transaction);
        const std::optional<SessionIndex> holder =
            found == m_holderOf.end() ? std::nullopt : std::optional(found->second);
        std::optional<Ticket> row;
        const auto ticket = m_ticketOf.find(waiter);
        if (ticket != m_ticketOf.end()) {
            row = ticket->second;
        } else if (const auto relation = holder ? onlyRelationOf(waiter, *holder) : std::nullopt) {
            row = Ticket{*relation, rowOf(lock.tag.transaction)};
        }
        if (!row) return addAwaited(waiter, lock, WaitState::kRecord);
        Held& handle = held(waiter, row->relation);
        handle.wait = std::max(handle.wait, WaitState::kRecord);
        if (holder) held(*holder, row->relation).rows.insert(row->row);
    }

    // The relation in which both lock or change rows, if there is exactly one.
    std::optional<ObjectIndex> onlyRelationOf(SessionIndex waiter, SessionIndex holder) const {
        std::optional<ObjectIndex> only;
        for (auto one = m_held.lower_bound({waiter, 0}); one != m_held.end() && one->first.first == waiter; ++one) {
            const ObjectIndex object = one->first.second;
            if (!one->second.goesWithRows || !mayLeadToRows(kindOf(object))) continue;
            const auto other = m_held.find({holder, object});
            if (other == m_held.end() || !other->second.goesWithRows) continue;
            if (only) return std::nullopt;
            only = object;
        }
        return only;
    }

    char kindOf(ObjectIndex object) const {
        const LockTag& tag = m_objects[object];
        const auto relation = m_activity.relations.find({tag.database, tag.relation});
        return relation == m_activity.relations.end() ? '\0' : relation->second.kind;
    }

    // What is awaited and no relation is an object of its own.
    void addAwaited(SessionIndex session, const LockRow& lock, WaitState wait) {
        Held& handle = held(session, objectOf(lock.tag));
        handle.asked = std::max(handle.asked, lock.strength);
        handle.wait = std::max(handle.wait, wait);
    }

    void addHolder(SessionIndex session, const LockRow& lock) {
        if (m_awaitedOf.empty()) return;
        const auto object = m_awaitedOf.find(lock.tag);
        if (object == m_awaitedOf.end()) return;
        Held& handle = held(session, object->second);
        handle.granted = std::max(handle.granted, lock.strength);
    }

    std::uint8_t recordLocks(SessionIndex session, ObjectIndex object, const Held& handle) const {
        if (!handle.rows.empty()) return recordLockType(handle.rows.size());
        const bool isRelation = m_objects[object].type == LockType::kRelation;
        const bool mayHaveSome =
            m_hasTransaction[session] && handle.goesWithRows && isRelation && hasRows(kindOf(object));
        return mayHaveSome ? kUnknownRecordLocks : kNoRecordLock;
    }

    // Where a session stands in the picture: clients, other processes, prepared transactions, each by number.
    std::pair<int, std::uint32_t> rankOf(SessionIndex index) const {
        const LockSession& session = m_sessions[index];
        if (session.prepared) return {2, session.prepared->transaction};
        const bool isListed = session.process->isClient() || session.process->type == "walsender";
        return {isListed ? 0 : 1, session.process->pid};
    }

    std::vector<SessionIndex> sessionsInOrder() const {
        std::vector<bool> hasHandle(m_sessions.size());
        for (const auto& [key, handle] : m_held)
            hasHandle[key.first] = true;
        std::vector<std::pair<std::pair<int, std::uint32_t>, SessionIndex>> ranked;
        for (SessionIndex index = 0; index < m_sessions.size(); ++index) {
            const auto rank = rankOf(index);
            if (hasHandle[index] || rank.first == 0) ranked.emplace_back(rank, index);
        }
        std::sort(ranked.begin(), ranked.end());
        std::vector<SessionIndex> order;
        order.reserve(ranked.size());
        for (const auto& [rank, index] : ranked)
            order.push_back(index);
        return order;
    }

    // Objects in the order of their tags, so that equal states give equal lists: the new index of each.
    std::vector<ObjectIndex> takeObjects(LockPicture& picture) const {
        std::vector<ObjectIndex> order(m_objects.size());
        std::iota(order.begin(), order.end(), ObjectIndex{0});
        std::sort(order.begin(), order.end(),
                  [this](ObjectIndex left, ObjectIndex right) { return m_objects[left] < m_objects[right]; });
        std::vector<ObjectIndex> rank(m_objects.size());
        picture.objects.reserve(m_objects.size());
        for (const ObjectIndex object : order) {
            rank[object] = static_cast<ObjectIndex>(picture.objects.size());
            picture.objects.push_back(m_objects[object]);
        }
        return rank;
    }

    LockPicture takePicture() {
        m_hasTransaction.resize(m_sessions.size());
        for (const auto& [transaction, session] : m_holderOf)
            m_hasTransaction[session] = true;
        LockPicture picture;
        const std::vector<ObjectIndex> rank = takeObjects(picture);
        picture.handles.reserve(m_held.size());
        for (const SessionIndex index : sessionsInOrder())
            addSession(picture, index, rank);
        return picture;
    }

    void addSession(LockPicture& picture, SessionIndex index, const std::vector<ObjectIndex>& rank) const {
        LockSession session = m_sessions[index];
        session.firstHandle = static_cast<std::uint32_t>(picture.handles.size());
        bool shut = false;
        for (auto one = m_held.lower_bound({index, 0}); one != m_held.end() && one->first.first == index; ++one) {
            const auto& [key, handle] = *one;
            const bool shuts = handle.granted >= kExclusiveMode;
            shut = shut || shuts;
            picture.handles.push_back({static_cast<std::uint32_t>(picture.sessions.size()), rank[key.second],
                                       openMode(std::max(handle.granted, handle.asked)),
                                       recordLocks(index, key.second, handle), handle.wait,
                                       transactionState(shuts, session.inTransaction)});
        }
        std::sort(picture.handles.begin() + session.firstHandle, picture.handles.end(),
                  [](const Handle& left, const Handle& right) { return left.object < right.object; });
        session.handleCount = static_cast<std::uint32_t>(picture.handles.size()) - session.firstHandle;
        session.transactionState = transactionState(shut, session.inTransaction);
        picture.sessions.push_back(session);
    }

    const Activity& m_activity;
    std::vector<LockSession> m_sessions;
    std::unordered_map<std::uint32_t, SessionIndex> m_sessionOf;  // by process
    std::unordered_map<std::string, SessionIndex> m_preparedOf;   // by virtual transaction
    std::vector<std::optional<SessionIndex>> m_owners;            // by lock
    std::unordered_map<std::uint32_t, SessionIndex> m_holderOf;   // by transaction, those of savepoints included
    std::unordered_map<SessionIndex, Ticket> m_ticketOf;
    std::vector<bool> m_hasTransaction;                           // by session
    std::unordered_map<std::uint64_t, ObjectIndex> m_relationOf;  // by database and number
    std::map<LockTag, ObjectIndex> m_awaitedOf;                   // other than relations
    std::vector<LockTag> m_objects;
    std::map<std::pair<SessionIndex, ObjectIndex>, Held> m_held;
};

}  // namespace

bool operator<(const LockTag& left, const LockTag& right) {
    const auto fields = [](const LockTag& tag) {
        return std::tie(tag.type, tag.database, tag.relation, tag.page, tag.tuple, tag.transaction, tag.classId,
                        tag.objectId, tag.objectSubId, tag.virtualTransaction, tag.otherType);
    };
    return fields(left) < fields(right);
}

bool hasProcess(const std::vector<Process>& processes, std::string_view type) {
    return std::any_of(processes.begin(), processes.end(),
                       [&](const Process& process) { return process.type == type; });
}

LockPicture joinLocks(const Activity& activity, std::uint32_t ownPid) {
    return Joiner(activity, ownPid).join();
}

}  // namespace xr::postgres
