// The owner of one heap object.
#pragma once

namespace gen {

// Deletes the object at its end, once: a fault in the destructor (on a heap that was damaged before) becomes an
// exception inside the owner's own, which the way out of the frame then runs again. Hence the volatile pointer, cleared
// first.
template <typename T>
class Owner {
public:
    explicit Owner(T* object = nullptr) : m_object(object) {}
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { delete release(); }

    explicit operator bool() const { return m_object != nullptr; }
    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }

    // Gives the object away; the caller deletes it.
    T* release() {
        T* const object = m_object;
        m_object = nullptr;
        return object;
    }
    void reset(T* object) {
        delete m_object;
        m_object = object;
    }

private:
    T* volatile m_object;
};

// As of the standard library, which the product has not: the object may be left empty.
template <typename T>
constexpr T&& move(T& object) noexcept {
    return static_cast<T&&>(object);
}

} // namespace gen
