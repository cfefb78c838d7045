// SPDX-License-Identifier: MIT
#include "Names.h"

#include <algorithm>

#include "ServerText.h"
#include "Texts.h"

namespace xr::postgres {

namespace {

// Joins the parts of a name, and remembers whether it still tells what it stands for.
class NameBuilder {
public:
    // Dots separate parts, so there must be none in them, and "#" begins a number.
    void add(std::string_view part) {
        std::string cleaned = cleanText(part);
        std::replace(cleaned.begin(), cleaned.end(), '.', '?');
        m_ambiguous = m_ambiguous || cleaned != part || part.find('#') != std::string_view::npos;
        append(cleaned);
    }

    void addNumber(std::uint32_t number) { append("#" + std::to_string(number)); }

    void addDatabase(std::uint32_t number, const Databases& databases) {
        if (number == 0) return;
        const auto name = databases.find(number);
        name == databases.end() ? addNumber(number) : add(name->second);
    }

    bool isEmpty() const { return m_name.empty(); }

    std::string take(std::uint32_t database, std::uint32_t number) {
        if (m_ambiguous) m_name += "#" + std::to_string(database) + "/" + std::to_string(number);
        return std::move(m_name);
    }

private:
    void append(const std::string& part) {
        if (!m_name.empty()) m_name += '.';
        m_name += part;
    }

    std::string m_name;
    bool m_ambiguous = false;
};

// Numbers of locks that applications choose are signed for them.
std::string advisoryKey(const LockTag& tag) {
    const auto key = (static_cast<std::uint64_t>(tag.classId) << 32U) | tag.objectId;
    if (tag.objectSubId == 1) return std::to_string(static_cast<std::int64_t>(key));
    return std::to_string(static_cast<std::int32_t>(tag.classId)) + "," +
           std::to_string(static_cast<std::int32_t>(tag.objectId));
}

// The numbers that a lock has, "/" between them.
std::string numbersOf(const LockTag& tag) {
    std::string numbers;
    for (const std::uint32_t number :
         {tag.relation, tag.page, tag.tuple, tag.transaction, tag.classId, tag.objectId, tag.objectSubId}) {
        if (number != 0) numbers.append(numbers.empty() ? " " : "/").append(std::to_string(number));
    }
    return tag.virtualTransaction.empty() ? numbers : numbers + " " + tag.virtualTransaction;
}

std::string describe(const LockTag& tag) {
    switch (tag.type) {
        case LockType::kAdvisory:
            return "advisory lock " + advisoryKey(tag);
        case LockType::kObject:
            return "object" + numbersOf(tag);
        case LockType::kExtend:
            return "extend" + numbersOf(tag);
        case LockType::kFrozenId:
            return "frozenid" + numbersOf(tag);
        case LockType::kPage:
            return "page" + numbersOf(tag);
        case LockType::kSpeculative:
            return "spectoken" + numbersOf(tag);
        case LockType::kUser:
            return "userlock" + numbersOf(tag);
        default:
            return cleanText(tag.otherType) + numbersOf(tag);
    }
}

std::string cutBefore(const std::string& name, const std::string& end, std::size_t size) {
    return std::string(cutUtf8(name, size - 1 - std::min(end.size(), size - 1))) + end;
}

}  // namespace

std::string relationName(const LockTag& tag, const Databases& databases, const Relation* relation) {
    NameBuilder name;
    name.addDatabase(tag.database, databases);
    if (relation) {
        name.add(relation->schema);
        name.add(relation->name);
    } else {
        name.addNumber(tag.relation);
    }
    return name.take(tag.database, tag.relation);
}

std::string objectName(const LockTag& tag, const Databases& databases) {
    if (tag.type == LockType::kTransaction) return "transaction " + std::to_string(tag.transaction);
    if (tag.type == LockType::kVirtualTransaction) return "virtual transaction " + cleanText(tag.virtualTransaction);
    NameBuilder database;
    database.addDatabase(tag.database, databases);
    if (database.isEmpty()) return describe(tag);
    return database.take(tag.database, tag.objectId) + ": " + describe(tag);
}

std::string networkAddress(const Process& process) {
    if (process.address.empty()) return "[local]";
    const bool isIpv6 = process.address.find(':') != std::string::npos;
    return (isIpv6 ? "[" + process.address + "]" : process.address) + ":" + process.port;
}

std::string sessionName(const LockSession& session, std::size_t size) {
    if (session.prepared) {
        std::string name = "prepared " + cleanText(session.prepared->gid);
        if (name.size() < size) return name;
        return cutBefore(name, " #" + std::to_string(session.prepared->transaction), size);
    }
    const Process& process = *session.process;
    const std::string pid = ":" + std::to_string(process.pid);
    const bool isClient = process.isClient() || process.type == "walsender";
    if (!isClient) return cutBefore(cleanText(process.type), pid, size);
    // The Unix socket has no ports.
    const std::string address = networkAddress(process) + (process.address.empty() ? pid : "");
    return cutBefore(cleanText(process.user), "@" + cleanText(address), size);
}

bool isLocal(const Process& process) {
    return process.address.empty() || isLoopback(process.address);
}

}  // namespace xr::postgres
