#include "compose/memory_file.h"

#include <cstring>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "base/genlib_error.h"
#include "testing/cxx/scratch_folder.h"
#include "testing/cxx/usage.h"

namespace {

constexpr unsigned granularity = 65536; // of every Windows for x86

std::string data_of(const CMemoryFile& file) {
    return std::string(reinterpret_cast<const char*>(file.GetData()), file.GetDataLength());
}

std::string name_of(CMemoryFile& file) {
    CString name;
    file.GetFileName(name);
    return std::string(name);
}

void expect_closed(CMemoryFile& file) {
    EXPECT_EQ(file.GetData(), nullptr);
    EXPECT_EQ(file.GetDataLength(), 0u);
    EXPECT_EQ(file.GetViewLength(), 0u);
    EXPECT_EQ(name_of(file), "");
    EXPECT_FALSE(file.Flush());
}

// Bytes that differ from page to page.
std::string pattern(unsigned size) {
    std::string bytes(size, '\0');
    for (unsigned i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i ^ i >> 8 ^ i >> 16);
    return bytes;
}

// Leaves the process no free piece of its address space of this size or more, for as long as it lives.
class TakenAddressSpace {
public:
    explicit TakenAddressSpace(SIZE_T size) {
        for (SIZE_T wanted = 1u << 30; wanted >= size; wanted /= 2) {
            while (m_count < std::size(m_pieces) && (m_pieces[m_count] = reserve(wanted)) != nullptr)
                ++m_count;
        }
    }
    ~TakenAddressSpace() {
        while (m_count > 0)
            VirtualFree(m_pieces[--m_count], 0, MEM_RELEASE);
    }
    TakenAddressSpace(const TakenAddressSpace&) = delete;
    TakenAddressSpace& operator=(const TakenAddressSpace&) = delete;

private:
    static void* reserve(SIZE_T size) { return VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS); }

    void* m_pieces[8192];
    unsigned m_count = 0;
};

class MemoryFile : public testing::Test {
protected:
    int open(const std::string& path, unsigned flags = 0, unsigned long long offset = 0, unsigned length = 0) {
        return file.Open(path.c_str(), flags, offset, length, nullptr);
    }
    // Makes a file and opens it; its path.
    std::string opened(const std::string& name, const std::string& bytes, unsigned flags = 0) {
        const std::string path = folder.add(name, bytes);
        EXPECT_EQ(open(path, flags), 1);
        return path;
    }
    // A file that is empty up to there, but for the bytes that follow.
    std::string sparse(unsigned long long offset, const std::string& bytes = "") {
        CFile made;
        EXPECT_TRUE(made.Open(folder.path("sparse.bin").c_str(), CFile::modeCreate | CFile::modeReadWrite));
        LONG high = static_cast<LONG>(offset >> 32);
        SetFilePointer(made.m_hFile, static_cast<LONG>(offset), &high, FILE_BEGIN);
        EXPECT_TRUE(SetEndOfFile(made.m_hFile));
        if (!bytes.empty())
            made.Write(bytes.data(), static_cast<UINT>(bytes.size()));
        return folder.path("sparse.bin");
    }

    ScratchFolder folder;
    CMemoryFile file;
};

TEST_F(MemoryFile, Is_closed_at_first) {
    expect_closed(file);
    file.Close();
    expect_closed(file);
}

TEST_F(MemoryFile, Maps_a_whole_file) {
    const std::string path = opened("whole.bin", pattern(100001));
    EXPECT_EQ(data_of(file), pattern(100001));
    EXPECT_EQ(file.GetViewLength(), 100001u);
    EXPECT_EQ(name_of(file), path);
    file.Close();
    expect_closed(file);
}

TEST_F(MemoryFile, Keeps_no_handle_of_the_file) {
    const std::string path = opened("mapped.bin", "abc");
    CFile exclusive;
    EXPECT_TRUE(exclusive.Open(path.c_str(), CFile::modeRead | CFile::shareExclusive));
    EXPECT_EQ(data_of(file), "abc");
}

TEST_F(MemoryFile, Window_starts_at_the_granularity_below_the_offset) {
    const std::string path = folder.add("window.bin", pattern(200000));
    ASSERT_EQ(open(path, 0, 70000, 1000), 1);
    EXPECT_EQ(data_of(file), pattern(200000).substr(70000, 1000));
    EXPECT_EQ(file.GetViewLength(), 1000u + 4464u);
    EXPECT_EQ(reinterpret_cast<ULONG_PTR>(file.GetData()) % granularity, 4464u);
}

TEST_F(MemoryFile, Length_0_is_up_to_the_end) {
    const std::string path = folder.add("rest.bin", pattern(70123));
    ASSERT_EQ(open(path, 0, 70000, 0), 1);
    EXPECT_EQ(data_of(file), pattern(70123).substr(70000));
}

TEST_F(MemoryFile, Offset_at_the_end_is_taken_unless_the_view_would_be_empty) {
    const std::string slack = folder.add("slack.bin", pattern(70000));
    EXPECT_EQ(open(slack, 0, 70000, 0), 1);
    EXPECT_EQ(file.GetDataLength(), 0u);
    EXPECT_EQ(file.GetViewLength(), 4464u);
    const std::string aligned = folder.add("aligned.bin", pattern(granularity));
    EXPECT_EQ(open(aligned, 0, granularity, 0), 0);
    expect_closed(file);
}

TEST_F(MemoryFile, Offset_beyond_the_end_fails) {
    const std::string path = folder.add("short.bin", pattern(100));
    EXPECT_EQ(open(path, 0, 101, 0), 0);
    EXPECT_EQ(file.GetData(), nullptr);
    EXPECT_EQ(open(path, 0, 0x100000000ull, 0), 0);
}

TEST_F(MemoryFile, Length_beyond_the_end_can_not_be_mapped) {
    const std::string path = folder.add("short.bin", pattern(100));
    EXPECT_EQ(open(path, 0, 0, 2 * granularity), 0);
    expect_closed(file);
    CFile emptied;
    EXPECT_TRUE(emptied.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite)) << "a mapping is still open";
    emptied.Write(pattern(100).data(), 100);
    emptied.Close();
    // The length and the bytes before the offset together pass 32 bits.
    EXPECT_EQ(open(path, 0, 50, 0xFFFFFFFF), 0);
    expect_closed(file);
}

TEST_F(MemoryFile, Empty_file_can_not_be_mapped) {
    EXPECT_EQ(open(folder.add("empty.bin", "")), 0);
    expect_closed(file);
}

TEST_F(MemoryFile, Missing_file_and_folder_fail) {
    EXPECT_EQ(open(folder.path("missing.bin")), 0);
    EXPECT_EQ(open(folder.path("missing\\missing.bin")), 0);
    EXPECT_EQ(file.Open("", 0, 0, 0, nullptr), 0);
    EXPECT_EQ(open(folder.path("")), 0);
    expect_closed(file);
}

TEST_F(MemoryFile, Second_open_closes_the_first_view) {
    const std::string first = folder.add("first.bin", "first");
    const std::string second = folder.add("second.bin", "second");
    ASSERT_EQ(open(first), 1);
    ASSERT_EQ(open(second), 1);
    EXPECT_EQ(data_of(file), "second");
    EXPECT_EQ(name_of(file), second);
    EXPECT_TRUE(DeleteFileA(first.c_str())) << "nothing holds it any more";
}

TEST_F(MemoryFile, Failed_open_closes_the_first_view) {
    const std::string path = opened("first.bin", "first");
    EXPECT_EQ(file.Open(nullptr, 0, 0, 0, nullptr), 0);
    expect_closed(file);
    ASSERT_EQ(open(path), 1);
    EXPECT_EQ(open(folder.path("missing.bin")), 0);
    expect_closed(file);
}

// A text of the host's may be anywhere, also in the file that is open.
TEST_F(MemoryFile, Path_may_lie_in_the_view_that_opening_closes) {
    const std::string second = folder.add("second.bin", "second");
    const std::string list = opened("list.txt", second + '\0');
    EXPECT_EQ(file.Open(reinterpret_cast<const char*>(file.GetData()), 0, 0, 0, nullptr), 1);
    EXPECT_EQ(data_of(file), "second");
    EXPECT_EQ(name_of(file), second);
}

TEST_F(MemoryFile, Path_may_be_the_objects_own_name) {
    const std::string path = opened("again.bin", "again");
    const char* own_name;
    {
        CString name;
        file.GetFileName(name);
        own_name = name;
    }
    EXPECT_EQ(file.Open(own_name, 0, 0, 0, nullptr), 1);
    EXPECT_EQ(data_of(file), "again");
    EXPECT_EQ(name_of(file), path);
}

TEST_F(MemoryFile, Open_without_memory_fails_and_closes_the_first_view) {
    const std::string path = folder.add("first.bin", "first");
    const std::string long_path(4 << 20, 'x');
    ASSERT_EQ(open(path), 1);
    int result = -1;
    {
        const TakenAddressSpace taken(1 << 20);
        try {
            result = open(long_path);
        } catch (const gen::genlib_error&) {
        }
    }
    EXPECT_EQ(result, 0);
    expect_closed(file);
    EXPECT_EQ(open(path), 1);
}

TEST_F(MemoryFile, Read_write_view_changes_the_file) {
    const std::string path = opened("changed.bin", "abcdef", CFile::modeReadWrite);
    std::memcpy(file.GetData(), "xyz", 3);
    EXPECT_TRUE(file.Flush());
    file.Close();
    EXPECT_EQ(folder.read("changed.bin"), "xyzdef");
}

TEST_F(MemoryFile, Any_flags_ask_for_a_writable_view) {
    const std::string path = folder.add("read_only.bin", "abc");
    EXPECT_EQ(open(path, CFile::modeRead | CFile::shareDenyNone), 0);
    expect_closed(file);
    EXPECT_EQ(open(path), 1);
}

TEST_F(MemoryFile, Flags_say_what_others_may_do_meanwhile_and_whether_the_file_is_emptied) {
    const std::string path = folder.add("flags.bin", "abcdef");
    CFile other;
    const unsigned keep = CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite;
    ASSERT_TRUE(other.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone));
    EXPECT_EQ(open(path, keep | CFile::shareDenyRead), 0) << "another one reads it";
    EXPECT_EQ(open(path, keep | CFile::shareDenyWrite), 1);
    EXPECT_EQ(data_of(file), "abcdef");
    file.Close();
    ASSERT_TRUE(other.Open(path.c_str(), CFile::modeWrite | CFile::shareDenyNone));
    EXPECT_EQ(open(path, keep | CFile::shareDenyWrite), 0) << "another one writes it";
    EXPECT_EQ(open(path, keep | CFile::shareDenyRead), 1);
}

TEST_F(MemoryFile, File_that_others_have_open_for_writing_can_be_mapped) {
    const std::string path = folder.add("log.txt", "so far");
    CFile log;
    ASSERT_TRUE(log.Open(path.c_str(), CFile::modeReadWrite | CFile::shareDenyNone));
    ASSERT_EQ(open(path), 1);
    EXPECT_EQ(data_of(file), "so far");
}

TEST_F(MemoryFile, File_that_others_do_not_share_fails) {
    const std::string path = folder.add("locked.txt", "abc");
    CFile other;
    ASSERT_TRUE(other.Open(path.c_str(), CFile::modeReadWrite | CFile::shareExclusive));
    EXPECT_EQ(open(path), 0);
    expect_closed(file);
}

TEST_F(MemoryFile, View_goes_to_the_preferred_address_or_fails) {
    const std::string path = folder.add("placed.bin", pattern(1000));
    void* const free_place = VirtualAlloc(nullptr, granularity, MEM_RESERVE, PAGE_NOACCESS);
    ASSERT_TRUE(VirtualFree(free_place, 0, MEM_RELEASE));
    ASSERT_EQ(file.Open(path.c_str(), 0, 0, 0, free_place), 1);
    EXPECT_EQ(file.GetData(), free_place);
    CMemoryFile other;
    EXPECT_EQ(other.Open(path.c_str(), 0, 0, 0, free_place), 0);
    expect_closed(other);
    EXPECT_EQ(data_of(file), pattern(1000));
}

TEST_F(MemoryFile, Security_for_everyone_can_be_made_anew_and_freed) {
    const std::string path = folder.add("shared.bin", "abc");
    file.CreateSecurity();
    file.CreateSecurity();
    ASSERT_EQ(open(path), 1);
    EXPECT_EQ(data_of(file), "abc");
    file.FreeSecurity();
    file.FreeSecurity();
    ASSERT_EQ(open(path), 1);
    file.CreateSecurity(); // the destructor frees it
}

TEST_F(MemoryFile, Window_lies_beyond_4_GiB) {
    const unsigned long long offset = 0x100000000ull + 70000;
    ASSERT_EQ(open(sparse(offset, "far away"), 0, offset), 1);
    EXPECT_EQ(data_of(file), "far away");
    EXPECT_EQ(file.GetViewLength(), 8u + 4464u);
}

TEST_F(MemoryFile, Up_to_4_GiB_less_a_byte_are_mapped_where_the_address_space_holds_them) {
    const bool fits = sizeof(void*) == 8;
    EXPECT_EQ(open(sparse(0x100000000ull + 70000)), fits ? 1 : 0);
    EXPECT_EQ(file.GetDataLength(), fits ? 0xFFFFFFFFu : 0u);
    if (!fits)
        expect_closed(file);
}

TEST_F(MemoryFile, Size_may_have_a_lower_half_of_all_ones) {
    const std::string path = sparse(0x1FFFFFFFFull);
    SetLastError(ERROR_GEN_FAILURE);
    ASSERT_EQ(open(path, 0, 0, 10), 1);
    EXPECT_EQ(data_of(file), std::string(10, '\0'));
}

TEST_F(MemoryFile, Leaves_no_handles_behind) {
    const std::string good = folder.add("good.bin", pattern(1000));
    const std::string empty = folder.add("empty.bin", "");
    const auto open_all_ways = [&] {
        CMemoryFile once;
        once.Open(good.c_str(), 0, 0, 0, nullptr);
        once.Open(good.c_str(), 0, 2000, 0, nullptr);                 // beyond the end
        once.Open(good.c_str(), CFile::shareDenyNone, 0, 0, nullptr); // no mapping
        once.Open(empty.c_str(), 0, 0, 0, nullptr);                   // no mapping
        once.Open(good.c_str(), 0, 0, 2 * granularity, nullptr);      // no view
        once.Open(good.c_str(), 0, 0, 0, nullptr);
    };
    open_all_ways();
    const unsigned before = process_handles();
    ASSERT_GT(before, 0u);
    for (int i = 0; i < 50; ++i)
        open_all_ways();
    EXPECT_EQ(process_handles(), before);
    EXPECT_TRUE(DeleteFileA(good.c_str()));
}

} // namespace
