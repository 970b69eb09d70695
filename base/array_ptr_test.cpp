#include "base/array_ptr.h"

#include <gtest/gtest.h>

#include "testing/cxx/failures.h"

namespace {

int g_alive = 0;

struct Item {
    explicit Item(int number) : number(number) { ++g_alive; }
    ~Item() { --g_alive; }
    int number;
};

class ArrayPtr : public testing::Test {
protected:
    void SetUp() override { g_alive = 0; }

    static void fill(gen::array_ptr<Item>& items, int n) {
        for (int i = 0; i < n; ++i)
            items.add(new Item(i));
    }
};

TEST_F(ArrayPtr, Deletes_its_elements_at_its_end) {
    {
        gen::array_ptr<Item> items;
        EXPECT_TRUE(items.owns());
        fill(items, 100);
        EXPECT_EQ(100, g_alive);
        EXPECT_EQ(99, items[99]->number);
    }
    EXPECT_EQ(0, g_alive);
}

TEST_F(ArrayPtr, Leaves_the_elements_alone_without_the_owns_flag) {
    Item first(1);
    {
        gen::array_ptr<Item> items(false);
        EXPECT_FALSE(items.owns());
        items.add(&first);
        items.set(0, nullptr);
        items.set(0, &first);
        items.remove(0);
        items.add(&first);
        items.clear();
        items.add(&first);
    }
    EXPECT_EQ(1, g_alive);
}

TEST_F(ArrayPtr, The_owns_flag_at_the_end_decides) {
    Item first(1);
    {
        gen::array_ptr<Item> items(true);
        items.add(&first);
        items.set_owns(false);
    }
    EXPECT_EQ(1, g_alive);
    {
        gen::array_ptr<Item> items(false);
        items.add(new Item(2));
        items.set_owns(true);
    }
    EXPECT_EQ(1, g_alive);
}

TEST_F(ArrayPtr, Skips_null_elements) {
    gen::array_ptr<Item> items;
    items.add(nullptr);
    items.add(new Item(1));
    items.resize(5);
    EXPECT_EQ(5u, items.size());
    EXPECT_EQ(nullptr, items[0]);
    EXPECT_EQ(nullptr, items[4]);
    EXPECT_EQ(1, items[1]->number);
}

TEST_F(ArrayPtr, Elements_that_are_cut_off_are_deleted) {
    gen::array_ptr<Item> items;
    fill(items, 10);
    items.remove(0);
    EXPECT_EQ(9, g_alive);
    EXPECT_EQ(1, items[0]->number);
    items.resize(6);
    EXPECT_EQ(6, g_alive);
    items.reserve(4);
    EXPECT_EQ(4, g_alive);
    EXPECT_EQ(4u, items.size());
    items.reserve(1000);
    EXPECT_EQ(4, g_alive);
    EXPECT_EQ(1000u, items.capacity());
    items.clear();
    EXPECT_EQ(0, g_alive);
    EXPECT_EQ(0u, items.size());
}

TEST_F(ArrayPtr, Set_deletes_the_element_that_it_replaces) {
    gen::array_ptr<Item> items;
    fill(items, 2);
    items.set(1, new Item(7));
    EXPECT_EQ(2, g_alive);
    EXPECT_EQ(7, items[1]->number);
    items.set(1, items[1]);
    EXPECT_EQ(7, items[1]->number);
    EXPECT_THROW(items.set(2, nullptr), gen::genlib_out_of_range);
}

TEST_F(ArrayPtr, Detach_gives_the_element_away) {
    gen::array_ptr<Item> items;
    fill(items, 3);
    Item* const second = items.detach(1);
    EXPECT_EQ(1, second->number);
    EXPECT_EQ(2u, items.size());
    EXPECT_EQ(2, items[1]->number);
    EXPECT_EQ(3, g_alive);
    delete second;
}

TEST_F(ArrayPtr, Access_beyond_the_size_throws_index_and_size) {
    gen::array_ptr<Item> items;
    fill(items, 2);
    expect_out_of_range(2, 2, [&] { (void)items[2]; });
    EXPECT_THROW(items.remove(2), gen::genlib_out_of_range);
    EXPECT_THROW((void)items.detach(2), gen::genlib_out_of_range);
}

TEST_F(ArrayPtr, Moves_elements_and_flag) {
    gen::array_ptr<Item> source(false);
    fill(source, 3);
    gen::array_ptr<Item> target(static_cast<gen::array_ptr<Item>&&>(source));
    EXPECT_FALSE(target.owns());
    EXPECT_EQ(3u, target.size());
    EXPECT_EQ(0u, source.size());
    target.set_owns(true);
    gen::array_ptr<Item> third;
    fill(third, 5);
    EXPECT_EQ(8, g_alive);
    third = static_cast<gen::array_ptr<Item>&&>(target);
    EXPECT_EQ(3, g_alive);
    EXPECT_EQ(3u, third.size());
    gen::array_ptr<Item>& itself = third;
    third = static_cast<gen::array_ptr<Item>&&>(itself);
    EXPECT_EQ(3, g_alive);
    EXPECT_EQ(2, third[2]->number);
    target.add(new Item(1));
    EXPECT_EQ(1u, target.size());
    gen::array_ptr<Item> lent(false);
    third = static_cast<gen::array_ptr<Item>&&>(lent);
    EXPECT_FALSE(third.owns());
}

TEST_F(ArrayPtr, An_element_that_could_not_be_added_stays_with_the_caller) {
    gen::array_ptr<Item> items;
    fill(items, 64);
    Item extra(64);
    {
        FailingAllocator allocator(1);
        EXPECT_THROW(items.add(&extra), gen::genlib_out_of_memory);
    }
    EXPECT_EQ(64u, items.size());
    EXPECT_EQ(65, g_alive);
}

struct Chained {
    explicit Chained(gen::array_ptr<Chained>& owner) : owner(owner) {}
    ~Chained() { last_seen_capacity = owner.capacity(); }
    gen::array_ptr<Chained>& owner;
    static unsigned last_seen_capacity;
};
unsigned Chained::last_seen_capacity = 0;

TEST_F(ArrayPtr, Elements_go_before_the_storage) {
    {
        gen::array_ptr<Chained> items;
        items.add(new Chained(items));
    }
    EXPECT_EQ(64u, Chained::last_seen_capacity);
}

} // namespace
