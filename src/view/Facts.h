// SPDX-License-Identifier: MIT
// The shown record and the one that its rates are counted from, and what follows from both. Found out when it is asked for.
#ifndef VEXO_VIEW_FACTS_H
#define VEXO_VIEW_FACTS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "record/Identity.h"
#include "record/Rates.h"
#include "record/Record.h"
#include "view/Text.h"
#include "view/WaitForest.h"

namespace vexo {

// What a name stands for when it stands for nothing, or for more than one item.
inline constexpr std::uint32_t kAmbiguous = kNowhere - 1;

class Facts {
public:
    // Both records may be null.
    void set(RecordPtr now, RecordPtr before);

    bool hasRecord() const { return m_now != nullptr; }
    const Record& now() const { return *m_now; }
    const RecordPtr& record() const { return m_now; }

    Rate growthOf(std::uint32_t file) const;
    SessionRates ratesOf(std::uint32_t session) const;
    CommunicationRates communication() const;
    Rate requestsOf(const ProtocolItem& protocol) const;

    // The only session of this name: its place, kNowhere or kAmbiguous. Likewise for files.
    std::uint32_t sessionNamed(NameId name) const;
    std::uint32_t fileNamed(NameId name) const;

    const std::vector<WaitNode>& waits() const;

    const Texts& texts() const { return m_texts; }

private:
    Texts m_texts;
    RecordPtr m_now;
    RecordPtr m_before;
    mutable std::optional<Matches> m_files;
    mutable std::optional<Matches> m_sessions;
    mutable std::vector<std::uint32_t> m_sessionOf;  // by name
    mutable std::vector<std::uint32_t> m_fileOf;     // by name
    mutable std::optional<std::vector<WaitNode>> m_waits;
};

}  // namespace vexo

#endif
