// SPDX-License-Identifier: MIT
// Shared objects that count their owners themselves.
#ifndef VEXO_FOUNDATION_REF_H
#define VEXO_FOUNDATION_REF_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vexo {

// Base of every shared object. Created by makeRef() with one owner; deletes itself when the last one lets go.
class RefCounted {
public:
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    void addReference() const { m_count.fetch_add(1, std::memory_order_relaxed); }
    void release() const {
        // A sole owner cannot race with another: millions of records are released without a locked instruction.
        if (m_count.load(std::memory_order_acquire) == 1 || m_count.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

protected:
    RefCounted() = default;
    virtual ~RefCounted() = default;

private:
    mutable std::atomic<std::uint32_t> m_count{1};
};

// One owner's hold on a shared object; may be empty.
template <typename T>
class Ref {
public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    // Takes over a hold that the caller already has; see share().
    static Ref adopt(T* object) {
        Ref ref;
        ref.m_object = object;
        return ref;
    }
    // One more hold on a borrowed object, which may be null.
    static Ref share(T* object) {
        if (object) object->addReference();
        return adopt(object);
    }

    Ref(const Ref& other) : m_object(other.m_object) {
        if (m_object) m_object->addReference();
    }
    Ref(Ref&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ref() {
        if (m_object) m_object->release();
    }

    T* get() const { return m_object; }
    T& operator*() const { return *m_object; }
    T* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    T* m_object = nullptr;
};

// A new shared object with one owner.
template <typename T, typename... Arguments>
Ref<T> makeRef(Arguments&&... arguments) {
    return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace vexo

#endif
