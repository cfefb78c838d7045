// SPDX-License-Identifier: MIT
#include "view/Facts.h"

#include <algorithm>
#include <utility>

namespace vexo {
namespace {

// The only item of each name.
template <typename Item>
std::vector<std::uint32_t> placesByName(const Record& record, const std::vector<Item>& items) {
    std::vector<std::uint32_t> places(record.names.size(), kNowhere);
    for (std::uint32_t place = 0; place < items.size(); ++place) {
        std::uint32_t& known = places[items[place].name];
        known = known == kNowhere ? place : kAmbiguous;
    }
    return places;
}

// What `find` gives for the item of the record before that is the same one; nothing where there is none.
template <typename Find>
auto sameBefore(std::optional<Matches>& matches, std::uint32_t place, Find find) -> const Matches::value_type* {
    if (!matches) matches = find();
    return place < matches->size() && (*matches)[place] != kNew ? &(*matches)[place] : nullptr;
}

}  // namespace

void Facts::set(RecordPtr now, RecordPtr before) {
    m_now = std::move(now);
    m_before = std::move(before);
    m_files.reset();
    m_sessions.reset();
    m_sessionOf.clear();
    m_fileOf.clear();
    m_waits.reset();
}

Rate Facts::growthOf(std::uint32_t file) const {
    if (!m_before) return std::nullopt;
    const auto* const old = sameBefore(m_files, file, [&] { return matchFiles(*m_before, *m_now); });
    if (!old) return std::nullopt;
    return vexo::growthOf(m_before->files[*old], m_now->files[file],
                          secondsBetween(*m_before, *m_now, Section::kFiles));
}

SessionRates Facts::ratesOf(std::uint32_t session) const {
    if (!m_before) return {};
    const auto* const old = sameBefore(m_sessions, session, [&] { return matchSessions(*m_before, *m_now); });
    if (!old) return {};
    return sessionRates(m_before->sessions[*old], m_now->sessions[session],
                        secondsBetween(*m_before, *m_now, Section::kSessions));
}

CommunicationRates Facts::communication() const {
    return m_before && m_now ? communicationRates(*m_before, *m_now) : CommunicationRates{};
}

Rate Facts::requestsOf(const ProtocolItem& protocol) const {
    if (!m_before) return std::nullopt;
    const auto& known = m_before->protocols;
    const auto old =
        std::find_if(known.begin(), known.end(), [&](const ProtocolItem& item) { return item.type == protocol.type; });
    if (old == known.end()) return std::nullopt;
    return rateOf(old->requests, protocol.requests, secondsBetween(*m_before, *m_now, Section::kCommunications));
}

std::uint32_t Facts::sessionNamed(NameId name) const {
    if (m_sessionOf.empty()) m_sessionOf = placesByName(*m_now, m_now->sessions);
    return m_sessionOf[name];
}

std::uint32_t Facts::fileNamed(NameId name) const {
    if (m_fileOf.empty()) m_fileOf = placesByName(*m_now, m_now->files);
    return m_fileOf[name];
}

const std::vector<WaitNode>& Facts::waits() const {
    if (!m_waits) m_waits = waitForest(*m_now);
    return *m_waits;
}

}  // namespace vexo
