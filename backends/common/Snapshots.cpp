// SPDX-License-Identifier: MIT
#include "Snapshots.h"

#include <algorithm>

#include "Texts.h"

namespace xr {

namespace {

bool isLocked(const Handle& handle) {
    return handle.recordLockType != kNoRecordLock && handle.recordLockType != kUnknownRecordLocks;
}

bool mayChange(const Handle& handle) {
    return handle.transactionState != kNoTransaction && !isReadOnly(handle.openMode);
}

}  // namespace

void FileSnapshot::finish() {
    const auto some = [this](const File& file, bool (*condition)(const Handle&)) -> std::uint8_t {
        const bool found = file.handles && std::any_of(file.handles->begin(), file.handles->end(),
                                                       [&](std::uint32_t index) { return condition(handles[index]); });
        return found ? 'Y' : 'N';
    };
    byName.reserve(files.size());
    for (std::size_t index = 0; index < files.size(); ++index) {
        File& file = files[index];
        file.info.readLocks = some(file, isLocked);
        file.info.transactionLock = some(file, mayChange);
        byName.emplace(file.name, index);
    }
}

SessionSnapshot::Session& SessionSnapshot::add(std::uint64_t number) {
    Session& session = add(std::to_string(number));
    session.id.idWord = static_cast<std::uint16_t>(number >> 16U);
    session.id.taskNumber = static_cast<std::uint16_t>(number);
    return session;
}

SessionSnapshot::Session& SessionSnapshot::add(const std::string& text) {
    byId.emplace(text, sessions.size());
    Session& session = sessions.emplace_back();
    fill(session.id.text, text);
    return session;
}

}  // namespace xr
