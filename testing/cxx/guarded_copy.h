// For tests: a copy of some elements that ends, or begins, right at a page that can't be touched, so that reading one
// element too far ends the program.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

template <typename T>
class GuardedCopy {
public:
    enum Side { guarded_end, guarded_begin };

    explicit GuardedCopy(const std::vector<T>& elements, Side side = guarded_end) {
        const std::size_t bytes = elements.size() * sizeof(T);
        const std::size_t pages = (bytes + kPage - 1) / kPage + 1; // at least one that can be touched
        m_size = (pages + 2) * kPage;
#ifdef _WIN32
        m_block = static_cast<char*>(VirtualAlloc(nullptr, m_size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old_protection;
        if (!m_block || !VirtualProtect(m_block, kPage, PAGE_NOACCESS, &old_protection) ||
            !VirtualProtect(m_block + m_size - kPage, kPage, PAGE_NOACCESS, &old_protection))
            std::abort();
#else
        void* block = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_block = static_cast<char*>(block);
        if (block == MAP_FAILED || mprotect(m_block, kPage, PROT_NONE) != 0 ||
            mprotect(m_block + m_size - kPage, kPage, PROT_NONE) != 0)
            std::abort();
#endif
        m_data = reinterpret_cast<T*>(side == guarded_begin ? m_block + kPage : m_block + m_size - kPage - bytes);
        if (bytes)
            std::memcpy(m_data, elements.data(), bytes);
    }
    ~GuardedCopy() {
#ifdef _WIN32
        VirtualFree(m_block, 0, MEM_RELEASE);
#else
        munmap(m_block, m_size);
#endif
    }
    GuardedCopy(const GuardedCopy&) = delete;
    GuardedCopy& operator=(const GuardedCopy&) = delete;

    const T* data() const { return m_data; }

private:
    static constexpr std::size_t kPage = 4096;

    char* m_block;
    std::size_t m_size;
    T* m_data;
};
