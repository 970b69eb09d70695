#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#ifndef _WIN32
#include <thread>
#endif

#include <gtest/gtest.h>

#include "companions/faultkit/notes/value_store.h"

namespace {

using faultkit::FaultValue;
using faultkit::ValueStore;
using Pairs = std::vector<std::pair<std::string, std::string>>;

void give_way(unsigned) {
#ifndef _WIN32
    std::this_thread::yield();
#endif
}

class ValueStoreTest : public testing::Test {
protected:
    bool set(const std::string& key, const std::string& text) {
        FaultValue value;
        faultkit::copy_bounded(value.key, key.c_str(), FaultValue::kMostKey);
        faultkit::copy_bounded(value.text, text.c_str(), FaultValue::kMostText);
        return m_store->set(value, give_way);
    }
    Pairs all() {
        FaultValue values[ValueStore::kMostValues];
        Pairs pairs(m_store->copy(values, give_way));
        for (unsigned i = 0; i < pairs.size(); ++i)
            pairs[i] = {values[i].key, values[i].text};
        return pairs;
    }

    std::unique_ptr<ValueStore> m_store{new ValueStore()};
};

TEST_F(ValueStoreTest, Values_keep_the_order_of_their_keys_and_the_last_text) {
    EXPECT_TRUE(all().empty());
    EXPECT_TRUE(set("build", "1"));
    EXPECT_TRUE(set("skin", "dark"));
    EXPECT_TRUE(set("build", "2"));
    EXPECT_EQ(all(), (Pairs{{"build", "2"}, {"skin", "dark"}}));
}

TEST_F(ValueStoreTest, Empty_text_takes_a_value_out_and_another_brings_it_back) {
    set("build", "1");
    set("skin", "dark");
    EXPECT_TRUE(set("build", ""));
    EXPECT_EQ(all(), (Pairs{{"skin", "dark"}}));
    set("build", "3");
    EXPECT_EQ(all(), (Pairs{{"build", "3"}, {"skin", "dark"}}));
}

TEST_F(ValueStoreTest, There_is_space_for_32_keys) {
    for (int i = 0; i < 32; ++i)
        EXPECT_TRUE(set("key " + std::to_string(i), "x"));
    EXPECT_FALSE(set("one more", "x"));
    EXPECT_TRUE(set("key 31", "y"));
    EXPECT_EQ(all().size(), 32u);
    EXPECT_EQ(all().back().second, "y");
}

TEST_F(ValueStoreTest, Text_is_kept_up_to_127_bytes) {
    set("long", std::string(127, 'a'));
    set("longer", std::string(128, 'b'));
    EXPECT_EQ(all(), (Pairs{{"long", std::string(127, 'a')}, {"longer", std::string(127, 'b')}}));
}

TEST_F(ValueStoreTest, Value_that_a_stopped_thread_was_writing_is_left_out) {
    set("build", "1");
    set("skin", "dark");
    // As a thread leaves it that was stopped there: the lock held, the first value not whole.
    std::uint32_t head[3];
    std::memcpy(head, static_cast<void*>(m_store.get()), sizeof head);
    ASSERT_EQ(head[0], 0u);
    ASSERT_EQ(head[1], 2u); // values
    ASSERT_EQ(head[2], 1u); // whole
    head[0] = 1;
    head[2] = 0;
    std::memcpy(static_cast<void*>(m_store.get()), head, sizeof head);
    EXPECT_EQ(all(), (Pairs{{"skin", "dark"}}));
    EXPECT_FALSE(set("build", "2"));
}

#ifndef _WIN32 // there a host with threads of the system's own does the same (tests/faultkit/telling_test.py)
TEST_F(ValueStoreTest, Values_set_by_several_threads_at_once_are_whole) {
    std::vector<std::thread> threads;
    for (char letter = 'a'; letter < 'e'; ++letter)
        threads.emplace_back([&, letter] {
            for (int i = 0; i < 2000; ++i) {
                set("same", std::string(100, letter));
                set(std::string("own ") + letter, std::to_string(i));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    const Pairs pairs = all();
    ASSERT_EQ(pairs.size(), 5u);
    for (const auto& pair : pairs) {
        if (pair.first == "same")
            EXPECT_EQ(pair.second, std::string(100, pair.second[0]));
        else
            EXPECT_EQ(pair.second, "1999");
    }
}
#endif

TEST(ValueKey, Letters_digits_spaces_and_three_signs_make_a_key) {
    for (const char* key : {"a", "build", "A key", "gpu.driver-2_x", "0", "zZ9"})
        EXPECT_TRUE(faultkit::is_key(key)) << key;
    for (const char* key : {"", "a=b", "a:b", "a\n", "a|b", "\xE4", "a/b", "a@", "a[", "a`", "a{"})
        EXPECT_FALSE(faultkit::is_key(key)) << key;
    EXPECT_TRUE(faultkit::is_key(std::string(31, 'k').c_str()));
    EXPECT_FALSE(faultkit::is_key(std::string(32, 'k').c_str()));
}

} // namespace
