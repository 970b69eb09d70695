// The owner of one heap object.
#pragma once

namespace glib {

template <typename T>
class Owner {
public:
    explicit Owner(T* object = nullptr) : m_object(object) {}
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { delete m_object; }

    explicit operator bool() const { return m_object != nullptr; }
    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }

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
    T* m_object;
};

} // namespace glib
