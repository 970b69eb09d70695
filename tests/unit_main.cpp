// The main of every GoogleTest program: a watchdog ends a hung run and says which test hung.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

constexpr auto kOneTestLimit = std::chrono::seconds(240);

class Watchdog : public testing::EmptyTestEventListener {
public:
    Watchdog() : m_thread([this] { watch(); }) {}

    ~Watchdog() override {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }

    void OnTestStart(const testing::TestInfo& test) override {
        set(std::string(test.test_suite_name()) + "." + test.name());
    }
    void OnTestEnd(const testing::TestInfo&) override { set(""); }

private:
    void set(const std::string& name) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_running = name;
        ++m_generation;
        m_wake.notify_all();
    }

    void watch() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_done) {
            const unsigned seen = m_generation;
            const bool moved = m_wake.wait_for(lock, kOneTestLimit, [&] { return m_done || m_generation != seen; });
            if (!moved && !m_running.empty()) {
                std::fprintf(stderr, "watchdog: %s is still running after its limit\n", m_running.c_str());
                std::fflush(stderr);
                std::_Exit(3);
            }
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::string m_running;
    unsigned m_generation = 0;
    bool m_done = false;
    std::thread m_thread;
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return RUN_ALL_TESTS();
}
