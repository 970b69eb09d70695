// Every operation that allocates, with every one of its allocations failing in turn.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/failures.h"
#include "base/split_path.h"
#include "base/std_string.h"

namespace {

const std::string kOld(99, 'o'); // fills its storage of 100
const std::string kLong(5000, 'n');

struct Operation {
    const char* name;
    unsigned least_allocations;
    std::function<void(CStdString&)> run;
};

const Operation kOperations[] = {
    {"assign", 1, [](CStdString& s) { s = kLong.c_str(); }},
    {"assign_characters", 1, [](CStdString& s) { s.assign(kLong.data(), 100); }},
    {"copy_assign", 1, [](CStdString& s) { s = CStdString(kLong.c_str()); }},
    {"copy_assign_from_another", 1,
     [](CStdString& s) {
         static const CStdString kOther(kLong.c_str());
         s = kOther;
     }},
    {"copy", 1, [](CStdString& s) { CStdString copy(s); }},
    {"make", 1, [](CStdString&) { CStdString fresh; }},
    {"make_from_text", 1, [](CStdString&) { CStdString fresh(kLong.c_str()); }},
    {"append", 1, [](CStdString& s) { s += "x"; }},
    {"append_itself", 1, [](CStdString& s) { s += s; }},
    {"append_character", 1, [](CStdString& s) { s += 'x'; }},
    {"extend", 1, [](CStdString& s) { s.extend(1); }},
    {"add_up", 1, [](CStdString& s) { s = s + kLong.c_str(); }},
    {"replace_all", 1, [](CStdString& s) { s.replace_all("o", "ab"); }},
    {"replace_all_within_itself", 1, [](CStdString& s) { s.replace_all("o", s.c_str() + 90); }},
    {"reserve", 1, [](CStdString& s) { s.reserve(101); }},
    {"grow", 1, [](CStdString& s) { s.grow(101); }},
    {"get_buffer", 1, [](CStdString& s) { s.get_buffer(100); }},
    {"left", 1, [](CStdString& s) { s = s.left(98); }},
    {"substr", 1, [](CStdString& s) { s = s.substr(90); }},
    {"format", 5, [](CStdString& s) { s.format("%s%s", kLong.c_str(), s.c_str()); }},
    {"split_path", 2, [](CStdString& s) { s = CStdSplitPath("C:\\dir\\name").GetFileName(); }},
};

TEST(StringFailure, Out_of_memory_at_any_allocation_leaves_the_string_as_it_was) {
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        for (EachAllocation each(operation.least_allocations); each.next();) {
            CStdString text(kOld.c_str());
            ASSERT_EQ(100u, text.capacity());
            const char* const storage = text.c_str();
            each.run([&] {
                operation.run(text);
                return true;
            });
            if (!each.failed())
                continue;
            EXPECT_EQ(kOld, text.c_str());
            EXPECT_EQ(100u, text.count());
            EXPECT_EQ(100u, text.capacity());
            EXPECT_EQ(storage, text.c_str());
        }
    }
}

TEST(StringFailure, A_new_text_of_any_size_takes_its_storage_at_once) {
    const CStdString text(kLong.c_str());
    const struct {
        const char* name;
        unsigned length;
        std::function<CStdString()> make;
    } cases[] = {
        {"empty", 0, [] { return CStdString(); }},
        {"from_text", 5000, [] { return CStdString(kLong.c_str()); }},
        {"from_characters", 70, [] { return CStdString(kLong.c_str(), 70); }},
        {"copy", 5000, [&] { return CStdString(text); }},
        {"left", 100, [&] { return text.left(100); }},
        {"substr", 4000, [&] { return text.substr(1000); }},
        {"short_substr", 10, [&] { return text.substr(1000, 10); }},
        {"sum", 5001, [&] { return text + 'x'; }},
        {"sum_of_texts", 10000, [&] { return text + text; }},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        FailingAllocator allocator(0);
        const CStdString made = one.make();
        EXPECT_EQ(1u, allocator.calls());
        EXPECT_EQ(one.length, made.length());
        EXPECT_EQ(one.length < 64 ? 64u : one.length + 1, made.capacity());
    }
}

TEST(StringFailure, Operations_that_need_no_storage_work_without_memory) {
    CStdString text("abc abc");
    FailingAllocator allocator(1);
    text.replace_all("abc", "xyz");
    text.trim_right("z");
    text += "z";
    text = text.c_str() + 1;
    text = nullptr;
    text = "";
    text.release_buffer();
    text.reserve(0);
    EXPECT_EQ(0u, allocator.calls());
}

TEST(StringFailure, Sums_beyond_one_block_are_out_of_memory_without_asking_the_allocator) {
    CStdString text("abc");
    FailingAllocator allocator(0);
    EXPECT_THROW(text.append("x", 0xFFFFFFFF), gen::genlib_out_of_memory);
    EXPECT_THROW(text.append("x", 0x7FFFFFFC), gen::genlib_out_of_memory);
    EXPECT_THROW(text.assign("x", 0xFFFFFFFF), gen::genlib_out_of_memory);
    EXPECT_THROW(text.assign("x", 0x7FFFFFFF), gen::genlib_out_of_memory);
    EXPECT_THROW(text.get_buffer(0xFFFFFFFF), gen::genlib_out_of_memory);
    EXPECT_THROW(text.get_buffer(0x7FFFFFFF), gen::genlib_out_of_memory);
    EXPECT_THROW(text.reserve(0x80000000), gen::genlib_out_of_memory);
    EXPECT_EQ(0u, allocator.calls());
    EXPECT_STREQ("abc", text.c_str());
    EXPECT_EQ(64u, text.capacity());
}

} // namespace
