#include "base/array.h"

#include <string.h>

#include <gtest/gtest.h>

#include "testing/cxx/failures.h"

namespace {

enum Format : unsigned { format_none = 0, format_first = 0x01414243, format_last = 0xFF5A5A5A };

// Values with all bytes of the element in use.
template <typename T>
T value(unsigned i) {
    return static_cast<T>(0x0101010101010101ULL * (i % 251 + 1));
}

template <typename T>
gen::array<T> filled(unsigned n) {
    gen::array<T> elements;
    elements.resize(n);
    for (unsigned i = 0; i < n; ++i)
        elements[i] = value<T>(i);
    return elements;
}

template <typename T>
void expect_filled(const gen::array<T>& elements, unsigned n) {
    ASSERT_EQ(n, elements.size());
    for (unsigned i = 0; i < n; ++i)
        ASSERT_EQ(value<T>(i), elements[i]) << "element " << i;
}

template <typename T>
class Array : public testing::Test {};

using ElementTypes = testing::Types<char, unsigned char, unsigned short, long long, Format, void*>;
template <typename T>
T value_of_pointer(unsigned i) {
    return reinterpret_cast<T>(static_cast<size_t>(i) + 1);
}
template <>
void* value<void*>(unsigned i) {
    return value_of_pointer<void*>(i);
}
TYPED_TEST_SUITE(Array, ElementTypes);

TYPED_TEST(Array, Is_empty_with_storage_for_64_elements_when_made) {
    const gen::array<TypeParam> elements;
    EXPECT_EQ(0u, elements.size());
    EXPECT_EQ(0u, elements.count());
    EXPECT_TRUE(elements.empty());
    EXPECT_EQ(64u, elements.capacity());
    EXPECT_EQ(64u, elements.reserve_hint());
    EXPECT_EQ(32u, elements.growth_step());
    EXPECT_NE(nullptr, elements.data());
}

TYPED_TEST(Array, Reserve_takes_exactly_what_is_wanted_and_keeps_the_elements) {
    gen::array<TypeParam> elements = filled<TypeParam>(64);
    elements.reserve(65);
    EXPECT_EQ(65u, elements.capacity());
    expect_filled(elements, 64);
    elements.reserve(1001);
    EXPECT_EQ(1001u, elements.capacity());
    expect_filled(elements, 64);
}

TYPED_TEST(Array, Reserve_within_the_capacity_cuts_the_elements) {
    gen::array<TypeParam> elements = filled<TypeParam>(40);
    elements.reserve(64);
    expect_filled(elements, 40);
    elements.reserve(40);
    expect_filled(elements, 40);
    elements.reserve(39);
    expect_filled(elements, 39);
    elements.reserve(0);
    EXPECT_TRUE(elements.empty());
    EXPECT_EQ(64u, elements.capacity());
}

TYPED_TEST(Array, Grow_never_cuts) {
    gen::array<TypeParam> elements = filled<TypeParam>(40);
    elements.grow(7);
    expect_filled(elements, 40);
    EXPECT_EQ(64u, elements.capacity());
    elements.grow(66);
    expect_filled(elements, 40);
    EXPECT_EQ(66u, elements.capacity());
}

TYPED_TEST(Array, Access_beyond_the_size_throws_index_and_size) {
    gen::array<TypeParam> elements = filled<TypeParam>(3);
    const gen::array<TypeParam>& constant = elements;
    for (unsigned index : {3u, 4u, 64u, 0xFFFFFFFFu}) {
        expect_out_of_range(index, 3, [&] { (void)constant[index]; });
        expect_out_of_range(index, 3, [&] { (void)elements[index]; });
    }
    EXPECT_EQ(value<TypeParam>(2), elements[2]);
}

TYPED_TEST(Array, Resize_adds_zero_elements_and_cuts) {
    gen::array<TypeParam> elements = filled<TypeParam>(64);
    elements.resize(2);
    elements.resize(3);
    EXPECT_EQ(TypeParam(), elements[2]);
    elements.resize(100);
    EXPECT_EQ(100u, elements.capacity());
    EXPECT_EQ(value<TypeParam>(1), elements[1]);
    for (unsigned i = 2; i < 100; ++i)
        ASSERT_EQ(TypeParam(), elements[i]) << "element " << i;
}

TYPED_TEST(Array, Add_and_insert_and_remove_keep_the_order) {
    gen::array<TypeParam> elements;
    for (unsigned i = 1; i < 300; ++i)
        elements.add(value<TypeParam>(i));
    elements.insert(0, value<TypeParam>(0));
    expect_filled(elements, 300);
    elements.insert(300, value<TypeParam>(300));
    elements.insert(150, value<TypeParam>(7));
    EXPECT_EQ(value<TypeParam>(7), elements[150]);
    elements.remove(150);
    expect_filled(elements, 301);
    elements.remove(300);
    elements.remove(0);
    EXPECT_EQ(299u, elements.size());
    EXPECT_EQ(value<TypeParam>(1), elements[0]);
    EXPECT_EQ(value<TypeParam>(299), elements[298]);
    EXPECT_THROW(elements.insert(300, value<TypeParam>(0)), gen::genlib_out_of_range);
    EXPECT_THROW(elements.remove(299), gen::genlib_out_of_range);
}

TYPED_TEST(Array, Copies_are_independent) {
    gen::array<TypeParam> original = filled<TypeParam>(100);
    gen::array<TypeParam> copy(original);
    gen::array<TypeParam> assigned;
    assigned = original;
    original[99] = value<TypeParam>(0);
    expect_filled(copy, 100);
    expect_filled(assigned, 100);
    EXPECT_EQ(100u, copy.capacity());
    EXPECT_EQ(100u, assigned.capacity());
    const gen::array<TypeParam>& itself = assigned;
    assigned = itself;
    expect_filled(assigned, 100);
}

TYPED_TEST(Array, Moved_from_array_is_empty_and_usable) {
    gen::array<TypeParam> source = filled<TypeParam>(100);
    gen::array<TypeParam> target(static_cast<gen::array<TypeParam>&&>(source));
    expect_filled(target, 100);
    EXPECT_EQ(0u, source.size());
    EXPECT_EQ(0u, source.capacity());
    EXPECT_THROW((void)source[0], gen::genlib_out_of_range);
    gen::array<TypeParam> copy_of_empty(source);
    EXPECT_TRUE(copy_of_empty.empty());
    source.add(value<TypeParam>(0));
    expect_filled(source, 1);
    source = static_cast<gen::array<TypeParam>&&>(target);
    expect_filled(source, 100);
    EXPECT_TRUE(target.empty());
    gen::array<TypeParam>& itself = source;
    source = static_cast<gen::array<TypeParam>&&>(itself);
    expect_filled(source, 100);
}

TYPED_TEST(Array, A_size_beyond_one_block_is_out_of_memory_without_asking_the_allocator) {
    gen::array<TypeParam> elements = filled<TypeParam>(5);
    const unsigned too_many = static_cast<unsigned>(gen::base_array::kMaxBytes / sizeof(TypeParam)) + 1;
    FailingAllocator allocator(0);
    EXPECT_THROW(elements.reserve(too_many), gen::genlib_out_of_memory);
    EXPECT_THROW(elements.reserve(0xFFFFFFFF), gen::genlib_out_of_memory);
    EXPECT_THROW(elements.resize(0xFFFFFFFF), gen::genlib_out_of_memory);
    EXPECT_THROW(elements.grow(0xFFFFFFFF), gen::genlib_out_of_memory);
    EXPECT_EQ(0u, allocator.calls());
    expect_filled(elements, 5);
    EXPECT_EQ(64u, elements.capacity());
}

TYPED_TEST(Array, A_failed_allocation_changes_nothing) {
    gen::array<TypeParam> elements = filled<TypeParam>(64);
    const gen::array<TypeParam> larger = filled<TypeParam>(65);
    const TypeParam* const storage = elements.data();
    const auto expect_failure = [&](auto operation) {
        FailingAllocator allocator(1);
        EXPECT_THROW(operation(), gen::genlib_out_of_memory);
        EXPECT_EQ(64u, elements.capacity());
        EXPECT_EQ(storage, elements.data());
        expect_filled(elements, 64);
    };
    expect_failure([&] { elements.reserve(65); });
    expect_failure([&] { elements.grow(65); });
    expect_failure([&] { elements.resize(65); });
    expect_failure([&] { elements.add(TypeParam()); });
    expect_failure([&] { elements.insert(0, TypeParam()); });
    expect_failure([&] { elements = larger; });
    expect_failure([&] { gen::array<TypeParam> copy(larger); });
    expect_failure([&] { gen::array<TypeParam> fresh; });
}

TEST(ArrayHint, Sets_the_first_capacity) {
    const gen::array<char> elements(1000, 5);
    EXPECT_EQ(1000u, elements.capacity());
    EXPECT_EQ(1000u, elements.reserve_hint());
    EXPECT_EQ(5u, elements.growth_step());
    const gen::array<char> none(0);
    EXPECT_EQ(0u, none.capacity());
    EXPECT_EQ(nullptr, none.data());
}

TEST(ArrayAdd, Grows_by_the_step_at_first_and_by_half_later) {
    gen::array<char> elements;
    for (int i = 0; i < 65; ++i)
        elements.add('x');
    EXPECT_EQ(64u + 33u, elements.capacity()); // half of 64 is not less than the step of 32, so one more
    FailingAllocator allocator(0);
    for (int i = 65; i < 1000000; ++i)
        elements.add('x');
    EXPECT_LT(allocator.calls(), 30u);
    gen::array<char> small(0, 0);
    small.add('y');
    EXPECT_EQ('y', small[0]);
}

TEST(GenlibErrors, Are_caught_by_their_base) {
    EXPECT_THROW(gen::throw_out_of_memory(), gen::genlib_error);
    EXPECT_THROW(gen::throw_out_of_range(1, 0), gen::genlib_error);
}

// The order of the fields is fixed.
TEST(BaseArray, Holds_count_capacity_hint_step_and_storage_in_this_order) {
    gen::array<char> elements(11, 5);
    elements.grow(23);
    elements.resize(7);
    struct {
        void* type_table;
        unsigned numbers[4];
        void* storage;
    } fields;
    static_assert(sizeof(fields) == sizeof(gen::base_array));
    memcpy(&fields, static_cast<const void*>(&elements), sizeof(fields));
    EXPECT_EQ(7u, fields.numbers[0]);
    EXPECT_EQ(23u, fields.numbers[1]);
    EXPECT_EQ(11u, fields.numbers[2]);
    EXPECT_EQ(5u, fields.numbers[3]);
    EXPECT_EQ(elements.data(), fields.storage);
}

TEST(BaseArray, Frees_its_storage_through_the_virtual_destructor) {
    // A leak would be reported when the program ends.
    const gen::base_array* elements = new gen::array<long long>(filled<long long>(1000));
    EXPECT_EQ(1000u, elements->count());
    delete elements;
}

} // namespace
