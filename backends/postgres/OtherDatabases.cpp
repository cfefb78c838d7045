// SPDX-License-Identifier: MIT
#include "OtherDatabases.h"

#include <algorithm>
#include <utility>

#include "Queries.h"

namespace xr::postgres {

namespace {

constexpr std::chrono::seconds kFresh{60};
constexpr unsigned kLongestWait = 2;  // seconds; connecting takes some milliseconds unless something is wrong

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string_view::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

}  // namespace

std::map<std::uint32_t, Relation> toRelations(Result rows) {
    std::map<std::uint32_t, Relation> relations;
    while (rows.next()) {
        Relation relation;
        relation.schema = rows.text(1);
        relation.name = rows.text(2);
        relation.kind = rows.text(3).empty() ? '\0' : rows.text(3)[0];
        relation.pages = rows.number(4);
        relations.emplace(rows.number32(0), std::move(relation));
    }
    return relations;
}

std::string toArray(const std::set<std::uint32_t>& numbers) {
    std::string array;
    for (const std::uint32_t number : numbers)
        array.append(array.empty() ? "{" : ",").append(std::to_string(number));
    return array.empty() ? "{}" : array + "}";
}

OtherDatabases::OtherDatabases(std::string_view names) {
    while (!names.empty()) {
        const std::size_t comma = std::min(names.find(','), names.size());
        const std::string_view name = withoutBlanks(names.substr(0, comma));
        if (!name.empty()) m_databases[std::string(name)];
        names.remove_prefix(std::min(comma + 1, names.size()));
    }
}

bool OtherDatabases::Answer::covers(const std::set<std::uint32_t>& numbers) const {
    return Clock::now() < until &&
           (refused || std::includes(asked.begin(), asked.end(), numbers.begin(), numbers.end()));
}

void OtherDatabases::addRelations(Relations& relations, std::uint32_t database, const std::string& name,
                                  const std::set<std::uint32_t>& numbers, const Account& account,
                                  const Settings& settings, Log& log) {
    const auto found = m_databases.find(name);
    if (found == m_databases.end()) return;
    Answer& answer = found->second;
    if (!answer.covers(numbers) && Clock::now() >= m_notBefore) {
        // Together with those of the same minute, or tables that take turns would be asked for each time.
        const Clock::time_point now = Clock::now();
        const bool isFresh = now < answer.until;
        const Clock::time_point until = isFresh ? answer.until : now + kFresh;
        std::set<std::uint32_t> all = numbers;
        if (isFresh) all.insert(answer.asked.begin(), answer.asked.end());
        Answer next = ask(name, all, account, settings, log);
        next.until = next.refused ? Clock::now() + kFresh : until;
        if (next.refused && isFresh) next.relations = std::move(answer.relations);
        answer = std::move(next);
    }
    for (const std::uint32_t number : numbers) {
        const auto relation = answer.relations.find(number);
        if (relation != answer.relations.end()) relations.emplace(std::pair(database, number), relation->second);
    }
}

OtherDatabases::Answer OtherDatabases::ask(const std::string& name, const std::set<std::uint32_t>& numbers,
                                           const Account& account, const Settings& settings, Log& log) {
    Answer answer;
    try {
        Account there = account;
        there.database = name;
        Settings brief = settings;
        brief.connectTimeout = std::min(settings.connectTimeout, kLongestWait);
        brief.readTimeout = std::min(settings.readTimeout, kLongestWait);
        Connection connection(there, brief, log);
        answer.relations = toRelations(connection.query(queries::kRelations, toArray(numbers)));
        answer.asked = numbers;
        // Or the next section would have it among its sessions.
        connection.close();
    } catch (const StatusError& error) {
        log.notice("The database " + name + " cannot be asked for names (status " + std::to_string(error.status()) +
                   "): its relations are shown by their numbers");
        answer.refused = true;
        const bool waited = error.status() == kTimeout || error.status() == kCatalogLocked;
        if (waited) m_notBefore = Clock::now() + std::chrono::seconds(kLongestWait);
    }
    return answer;
}

}  // namespace xr::postgres
