// SPDX-License-Identifier: MIT
// The names of relations in databases that the monitor is not connected to. The server lists locks of all of them, and
// names only those of its own.
#ifndef VEXO_POSTGRES_OTHERDATABASES_H
#define VEXO_POSTGRES_OTHERDATABASES_H

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "Connection.h"
#include "Locks.h"

namespace xr::postgres {

// The relations in an answer to queries::kRelations, by number.
std::map<std::uint32_t, Relation> toRelations(Result rows);

// An array of numbers as a parameter of a statement.
std::string toArray(const std::set<std::uint32_t>& numbers);

class OtherDatabases {
public:
    // `names`, with commas and blanks between them, are the databases that may be asked. No others are: where somebody has
    // locked their catalogs, such a connection hangs, and its process in the server stays when we leave.
    explicit OtherDatabases(std::string_view names);

    bool areAsked() const { return !m_databases.empty(); }

    // Adds what is known of relations, by their numbers, in a database. It is asked, by a connection of its own, where a
    // number is new or the answer is a minute old. A database that refused is left alone for a minute, and what it told
    // in the minute before is kept; after one that let us wait in vain, all of them are left alone for two seconds, or one
    // section of a record would wait for each.
    void addRelations(Relations& relations, std::uint32_t database, const std::string& name,
                      const std::set<std::uint32_t>& numbers, const Account& account, const Settings& settings,
                      Log& log);

private:
    using Clock = std::chrono::steady_clock;
    struct Answer {
        Clock::time_point until;
        std::set<std::uint32_t> asked;
        std::map<std::uint32_t, Relation> relations;
        bool refused = false;

        bool covers(const std::set<std::uint32_t>& numbers) const;
    };

    Answer ask(const std::string& name, const std::set<std::uint32_t>& numbers, const Account& account,
               const Settings& settings, Log& log);

    std::map<std::string, Answer, std::less<>> m_databases;  // by name
    Clock::time_point m_notBefore;                           // while they are left alone
};

}  // namespace xr::postgres

#endif
