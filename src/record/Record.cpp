// SPDX-License-Identifier: MIT
#include "record/Record.h"

#include <algorithm>

namespace vexo {
namespace {

template <typename T>
std::size_t bytesOf(const std::vector<T>& items) {
    return items.capacity() * sizeof(T);
}

}  // namespace

std::size_t Record::askedSections() const {
    return kSections -
           static_cast<std::size_t>(std::count_if(sections.begin(), sections.end(), [](const SectionResult& section) {
               return section.state == SectionState::kOff;
           }));
}

std::size_t Record::failedSections() const {
    return static_cast<std::size_t>(std::count_if(sections.begin(), sections.end(), [](const SectionResult& section) {
        return section.state == SectionState::kFailed;
    }));
}

std::size_t Record::footprint() const {
    return sizeof *this + names.footprint() + bytesOf(protocols) + bytesOf(files) + bytesOf(fileHandles) +
           bytesOf(sessions) + bytesOf(sessionHandles) + bytesOf(connections) + bytesOf(waits) + bytesOf(events);
}

}  // namespace vexo
