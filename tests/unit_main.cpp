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
    Watchdog() : thread_([this] { watch(); }) {}

    ~Watchdog() override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            done_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }

    void OnTestStart(const testing::TestInfo& test) override {
        set(std::string(test.test_suite_name()) + "." + test.name());
    }
    void OnTestEnd(const testing::TestInfo&) override { set(""); }

private:
    void set(const std::string& name) {
        std::lock_guard<std::mutex> lock(mutex_);
        running_ = name;
        ++generation_;
        wake_.notify_all();
    }

    void watch() {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!done_) {
            const unsigned seen = generation_;
            const bool moved = wake_.wait_for(lock, kOneTestLimit, [&] { return done_ || generation_ != seen; });
            if (!moved && !running_.empty()) {
                std::fprintf(stderr, "watchdog: %s is still running after its limit\n", running_.c_str());
                std::fflush(stderr);
                std::_Exit(3);
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::string running_;
    unsigned generation_ = 0;
    bool done_ = false;
    std::thread thread_;
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return RUN_ALL_TESTS();
}
