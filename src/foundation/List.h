// SPDX-License-Identifier: MIT
// An ordered list that keeps the order of insertion: of values, or of holds on shared objects.
#ifndef VEXO_FOUNDATION_LIST_H
#define VEXO_FOUNDATION_LIST_H

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/Ref.h"

namespace vexo {

template <typename T>
class List : public RefCounted {
public:
    using Element = std::conditional_t<std::is_base_of_v<RefCounted, T>, Ref<T>, T>;

    void add(Element element) { m_elements.push_back(std::move(element)); }
    void clear() { m_elements.clear(); }
    // Reserves room for an announced number of elements. An announcement is a hint: a wrong one costs no more than 64 KB.
    void expect(std::size_t count) { m_elements.reserve(std::min<std::size_t>(count, 8192)); }

    bool empty() const { return m_elements.empty(); }
    // Reports print counts as signed 32-bit numbers.
    int size() const { return static_cast<int>(m_elements.size()); }
    const Element& operator[](int index) const { return m_elements[static_cast<std::size_t>(index)]; }
    auto begin() const { return m_elements.begin(); }
    auto end() const { return m_elements.end(); }

private:
    std::vector<Element> m_elements;
};

}  // namespace vexo

#endif
