#include "base/owner.h"

#include <gtest/gtest.h>

#include "base/array_ptr.h"
#include "testing/cxx/failing_allocator.h"

namespace {

int g_alive = 0;

struct Counted {
    Counted() { ++g_alive; }
    ~Counted() { --g_alive; }
};

class Owner : public testing::Test {
protected:
    void SetUp() override { g_alive = 0; }
};

TEST_F(Owner, Deletes_its_object_at_its_end) {
    {
        const gen::Owner<Counted> owner(new Counted);
        EXPECT_TRUE(owner);
        EXPECT_EQ(1, g_alive);
    }
    EXPECT_EQ(0, g_alive);
    const gen::Owner<Counted> empty;
    EXPECT_FALSE(empty);
}

TEST_F(Owner, Gives_its_object_away) {
    gen::Owner<Counted> owner(new Counted);
    Counted* const object = owner.get();
    EXPECT_EQ(object, owner.release());
    EXPECT_FALSE(owner);
    EXPECT_EQ(1, g_alive);
    delete object;
}

TEST_F(Owner, Deletes_the_object_that_another_replaces) {
    gen::Owner<Counted> owner(new Counted);
    Counted* const next = new Counted;
    owner.reset(next);
    EXPECT_EQ(next, owner.get());
    EXPECT_EQ(1, g_alive);
}

struct Watcher {
    explicit Watcher(gen::Owner<Watcher>& owner) : owner(owner) {}
    ~Watcher() { owned_at_its_end = static_cast<bool>(owner); }
    gen::Owner<Watcher>& owner;
    static bool owned_at_its_end;
};
bool Watcher::owned_at_its_end = true;

TEST_F(Owner, Has_nothing_left_to_delete_while_its_object_ends) {
    {
        gen::Owner<Watcher> owner;
        owner.reset(new Watcher(owner));
    }
    EXPECT_FALSE(Watcher::owned_at_its_end);
}

TEST_F(Owner, Hands_its_object_to_an_array) {
    gen::array_ptr<Counted> array;
    gen::Owner<Counted> owner(new Counted);
    Counted* const object = owner.get();
    EXPECT_EQ(object, array.add(gen::move(owner)));
    EXPECT_FALSE(owner);
    EXPECT_EQ(object, array[0]);
    array.clear();
    EXPECT_EQ(0, g_alive);
}

TEST_F(Owner, Keeps_what_an_array_has_no_memory_for) {
    gen::array_ptr<Counted> array;
    while (array.size() < array.capacity())
        array.add(nullptr);
    gen::Owner<Counted> owner(new Counted);
    {
        FailingAllocator allocator(1);
        EXPECT_THROW(array.add(gen::move(owner)), gen::genlib_out_of_memory);
        EXPECT_TRUE(allocator.failed());
    }
    EXPECT_TRUE(owner);
    EXPECT_EQ(1, g_alive);
}

} // namespace
