#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"
#include "companions/faultkit/capture/image.h"

namespace {

using faultkit::FakeMemory;
using faultkit::Image;

constexpr bool kWide = sizeof(faultkit::Address) == 8;
constexpr faultkit::Address kBase = kWide ? 0x7FF612340000 : 0x10000000;
constexpr std::uint32_t kSize = 0x4000;
// Where the fields lie that are wider in a 64-bit module's headers, or behind such.
constexpr std::uint32_t kOptionalSize = kWide ? 0xF0 : 0xE0, kDirectoryCount = 24 + (kWide ? 108 : 92);
constexpr std::uint32_t kHeaders = 0x80, kDebug = 0x2000, kCodeView = 0x2100, kResources = 0x3000, kVersion = 0x3100;

// The image of a module as the loader maps it, every part of it where a test can damage it.
class ImageTest : public testing::Test {
protected:
    ImageTest() {
        m_memory.fill(kBase, kSize, 0);
        put16(0, 0x5A4D);
        put32(0x3C, kHeaders);
        put32(kHeaders, 0x4550);
        put16(kHeaders + 4, kWide ? 0x8664 : 0x14C);
        put16(kHeaders + 6, 2);              // sections
        put32(kHeaders + 8, 0x4A5B6C7D);     // time stamp
        put16(kHeaders + 20, kOptionalSize); // size of the optional header
        put16(kHeaders + 24, kWide ? 0x20B : 0x10B);
        put32(kHeaders + 24 + 56, kSize);
        put32(kHeaders + kDirectoryCount, 16); // directories
        put_section(0, 0x1000, 0x800, 0x60000020);
        put_section(1, 0x2000, 0x1000, 0xC0000040);
        put_directory(6, kDebug, 28);
        put32(kDebug + 12, 2); // code view
        put32(kDebug + 16, 24 + 9);
        put32(kDebug + 20, kCodeView);
        put_rsds("\\a\\x.pdb");
        put_directory(2, kResources, 0x200);
        put_version();
    }

    void put16(std::uint32_t offset, std::uint16_t value) {
        m_memory.put(kBase + offset, {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
    }
    void put32(std::uint32_t offset, std::uint32_t value) { m_memory.put_u32(kBase + offset, value); }
    void put_text(std::uint32_t offset, const std::string& text) {
        m_memory.put(kBase + offset, FakeMemory::Bytes(text.begin(), text.end()));
    }
    void put_section(std::uint32_t index, std::uint32_t offset, std::uint32_t size, std::uint32_t flags) {
        const std::uint32_t section = kHeaders + 24 + kOptionalSize + index * 40;
        put32(section + 8, size);
        put32(section + 12, offset);
        put32(section + 36, flags);
    }
    void put_directory(std::uint32_t index, std::uint32_t offset, std::uint32_t size) {
        put32(kHeaders + kDirectoryCount + 4 + index * 8, offset);
        put32(kHeaders + kDirectoryCount + 4 + index * 8 + 4, size);
    }
    void put_rsds(const std::string& path) {
        put_text(kCodeView, "RSDS");
        m_memory.put(kBase + kCodeView + 4,
                     {0xFA, 0x52, 0xEF, 0x44, 0x17, 0x4B, 0x24, 0x12, 0x4C, 0x4C, 0x44, 0x20, 0x50, 0x44, 0x42, 0x2E});
        put32(kCodeView + 20, 0x1B);
        put_text(kCodeView + 24, path + '\0');
    }
    // Type 16, one name, one language, one record: three directories with one entry each.
    void put_version() {
        put16(kResources + 14, 1);
        put32(kResources + 16, 16);
        put32(kResources + 20, 0x80000018);
        put16(kResources + 0x18 + 14, 1);
        put32(kResources + 0x18 + 16, 1);
        put32(kResources + 0x18 + 20, 0x80000030);
        put16(kResources + 0x30 + 14, 1);
        put32(kResources + 0x30 + 16, 0x409);
        put32(kResources + 0x30 + 20, 0x48);
        put32(kResources + 0x48, kVersion);
        put32(kResources + 0x4C, 92);
        put32(kVersion + 40, 0xFEEF04BD);
        put32(kVersion + 48, 0x0001000A); // 1.10
        put32(kVersion + 52, 0x00030004); // .3.4
    }

    Image image() {
        Image image;
        EXPECT_TRUE(faultkit::read_image(m_memory, kBase, &image));
        return image;
    }

    FakeMemory m_memory;
};

TEST_F(ImageTest, Size_and_time_stamp_come_from_the_headers) {
    EXPECT_EQ(image().base, kBase);
    EXPECT_EQ(image().size, kSize);
    EXPECT_EQ(image().time_stamp, 0x4A5B6C7Du);
}

TEST_F(ImageTest, Executable_sections_are_code) {
    const Image image = this->image();
    ASSERT_EQ(image.range_count, 1u);
    EXPECT_EQ(image.code[0].begin, kBase + 0x1000);
    EXPECT_EQ(image.code[0].end, kBase + 0x1800);
}

TEST_F(ImageTest, Pdb_identity_is_the_guid_as_it_is_spoken_and_the_age) {
    EXPECT_STREQ(image().pdb.key, "44EF52FA4B1712244C4C44205044422E1B");
    EXPECT_STREQ(image().pdb.file, "x.pdb");
}

TEST_F(ImageTest, Older_pdb_identity_is_its_signature_and_the_age) {
    put_text(kCodeView, "NB10");
    put32(kCodeView + 4, 0);
    put32(kCodeView + 8, 0x3A2B1C0D);
    put32(kCodeView + 12, 5);
    put_text(kCodeView + 16, std::string("old.pdb") + '\0');
    EXPECT_STREQ(image().pdb.key, "3A2B1C0D5");
    EXPECT_STREQ(image().pdb.file, "old.pdb");
}

TEST_F(ImageTest, Version_comes_from_the_resource) {
    const Image image = this->image();
    ASSERT_TRUE(image.has_version);
    EXPECT_EQ(image.version[0], 1);
    EXPECT_EQ(image.version[1], 10);
    EXPECT_EQ(image.version[2], 3);
    EXPECT_EQ(image.version[3], 4);
}

TEST_F(ImageTest, Version_is_the_first_one_whatever_its_number_and_language) {
    put32(kResources + 0x18 + 16, 7);
    put32(kResources + 0x30 + 16, 0);
    EXPECT_TRUE(image().has_version);
}

TEST_F(ImageTest, Module_without_resources_or_debug_record_has_neither) {
    put_directory(2, 0, 0);
    put_directory(6, 0, 0);
    EXPECT_FALSE(image().has_version);
    EXPECT_STREQ(image().pdb.key, "");
}

TEST_F(ImageTest, Unknown_debug_record_gives_no_identity) {
    put_text(kCodeView, "NB11");
    EXPECT_STREQ(image().pdb.key, "");
}

TEST_F(ImageTest, Path_without_end_is_cut_at_the_records_end) {
    put_rsds("\\a\\xyzxyzxyz");
    EXPECT_STREQ(image().pdb.file, "xyzxyz");
}

TEST_F(ImageTest, What_is_no_module_is_refused) {
    Image image;
    EXPECT_FALSE(faultkit::read_image(m_memory, kBase + 0x1000, &image));
    EXPECT_FALSE(faultkit::read_image(m_memory, 0x500000, &image));
    put16(kHeaders + 24, kWide ? 0x10B : 0x20B); // of the other kind of process
    EXPECT_FALSE(faultkit::read_image(m_memory, kBase, &image));
}

TEST_F(ImageTest, Directories_that_leave_the_module_are_not_followed) {
    put_directory(6, kSize - 4, 28);
    put_directory(2, 0xFFFFFFF0, 0x200);
    put_section(0, 0x1000, 0xFFFFFFFF, 0x60000020);
    const Image image = this->image();
    EXPECT_STREQ(image.pdb.key, "");
    EXPECT_FALSE(image.has_version);
    EXPECT_EQ(image.range_count, 0u);
}

TEST_F(ImageTest, Directory_is_found_by_its_number_if_there_are_so_many) {
    const Image image = this->image();
    const faultkit::Directory found = faultkit::find_directory(m_memory, image, 6);
    EXPECT_EQ(found.offset, kDebug);
    EXPECT_EQ(found.size, 28u);
    put_directory(16, kDebug, 28); // behind the last one
    EXPECT_EQ(faultkit::find_directory(m_memory, image, 16).size, 0u);
    put_directory(6, kSize - 0x10, 28);
    EXPECT_EQ(faultkit::find_directory(m_memory, image, 6).size, 0u);
    put32(kHeaders, 0);
    EXPECT_EQ(faultkit::find_directory(m_memory, image, 2).size, 0u);
}

TEST_F(ImageTest, Resource_directories_in_a_circle_end) {
    put32(kResources + 0x18 + 20, 0x80000000);
    put32(kResources + 16, 0x80000001); // and no type 16
    EXPECT_FALSE(image().has_version);
}

TEST_F(ImageTest, Any_damaged_word_is_survived) {
    for (std::uint32_t offset = 0; offset < kSize; offset += 4) {
        std::uint32_t before = 0;
        ASSERT_TRUE(m_memory.read_u32(kBase + offset, &before));
        for (const std::uint32_t value : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFCu, 1u}) {
            put32(offset, value);
            Image image;
            faultkit::read_image(m_memory, kBase, &image);
            EXPECT_LT(std::string(image.pdb.key).size(), sizeof image.pdb.key);
        }
        put32(offset, before);
    }
}

TEST_F(ImageTest, Any_truncated_module_is_survived) {
    FakeMemory::Bytes bytes(kSize);
    ASSERT_TRUE(m_memory.read(kBase, bytes.data(), kSize));
    for (std::uint32_t size = 0; size < kSize; size += 3) {
        FakeMemory shorter;
        shorter.put(kBase, FakeMemory::Bytes(bytes.begin(), bytes.begin() + size));
        Image image;
        const bool read = faultkit::read_image(shorter, kBase, &image);
        EXPECT_EQ(read, size >= kHeaders + 24 + 60) << size;
    }
}

TEST_F(ImageTest, Read_that_fails_leaves_out_what_it_was_for) {
    for (unsigned every = 1; every < 60; ++every) {
        m_memory.fail_every(every);
        Image image;
        if (faultkit::read_image(m_memory, kBase, &image)) {
            EXPECT_EQ(image.size, kSize);
            EXPECT_LE(image.range_count, 1u);
        }
    }
}

TEST_F(ImageTest, Code_beyond_what_is_kept_is_left_out) {
    put16(kHeaders + 6, 7);
    for (std::uint32_t i = 0; i < 7; ++i)
        put_section(i, 0x400 + i * 0x100, i ? 0x80 : 0, 0x60000020);
    put32(kHeaders + 24 + kOptionalSize + 16, 0x40); // of the first one the size in the file counts
    Image image;
    ASSERT_TRUE(faultkit::read_image(m_memory, kBase, &image));
    EXPECT_EQ(image.range_count, Image::kMostRanges);
    EXPECT_EQ(image.code[0].end, kBase + 0x440);
}

TEST_F(ImageTest, Name_of_the_pdb_is_what_follows_the_last_separator) {
    put_rsds("/a/x.pdb");
    EXPECT_STREQ(image().pdb.file, "x.pdb");
    put32(kDebug + 16, 24 + 600);
    put_rsds("\\a\\" + std::string(400, 'p'));
    EXPECT_EQ(image().pdb.file, std::string(60, 'p') + "...");
}

TEST_F(ImageTest, Record_that_ends_in_front_of_the_name_gives_no_identity) {
    for (const std::uint32_t size : {24u, 23u, 16u, 15u}) {
        put32(kDebug + 16, size);
        EXPECT_STREQ(image().pdb.key, "") << size;
    }
    put_text(kCodeView, "NB10");
    put32(kCodeView + 8, 0x3A2B1C0D);
    put32(kCodeView + 12, 5);
    put_text(kCodeView + 16, std::string("old.pdb") + '\0');
    for (const std::uint32_t size : {16u, 15u}) {
        put32(kDebug + 16, size);
        EXPECT_STREQ(image().pdb.key, "") << size;
    }
    put32(kDebug + 16, 16 + 2);
    EXPECT_STREQ(image().pdb.key, "3A2B1C0D5");
    EXPECT_STREQ(image().pdb.file, "ol");
}

TEST_F(ImageTest, First_of_several_identities_counts) {
    put_directory(6, kDebug, 2 * 28);
    put32(kDebug + 28 + 12, 2);
    put32(kDebug + 28 + 16, 24);
    put32(kDebug + 28 + 20, kCodeView + 0x80);
    put_text(kCodeView + 0x80, "NB10");
    EXPECT_STREQ(image().pdb.file, "x.pdb");
    put32(kDebug + 12, 4); // another kind of entry
    EXPECT_STREQ(image().pdb.key, "000000000");
}

TEST_F(ImageTest, Identity_is_looked_for_among_32_entries) {
    constexpr std::uint32_t kMany = 0x1000;
    put_directory(6, kMany, 40 * 28);
    const auto put_entry = [&](std::uint32_t index, std::uint32_t type) {
        put32(kMany + index * 28 + 12, type);
        put32(kMany + index * 28 + 16, 24 + 9);
        put32(kMany + index * 28 + 20, kCodeView);
    };
    put_entry(32, 2);
    EXPECT_STREQ(image().pdb.file, "");
    put_entry(31, 2);
    EXPECT_STREQ(image().pdb.file, "x.pdb");
}

TEST_F(ImageTest, Version_that_leaves_its_resources_or_the_module_is_not_read) {
    for (const std::uint32_t size : {0x0Fu, 0x17u, 0x4Fu}) {
        put_directory(2, kResources, size);
        EXPECT_FALSE(image().has_version) << size;
    }
    put_directory(2, kResources, 0x50);
    EXPECT_TRUE(image().has_version);
    put32(kResources + 0x48, kSize - 55); // one byte too few for what is read
    EXPECT_FALSE(image().has_version);
    put32(kResources + 0x48, kVersion);
    put32(kResources + 0x4C, 55);
    EXPECT_FALSE(image().has_version);
    put32(kResources + 0x4C, 56);
    EXPECT_TRUE(image().has_version);
}

TEST_F(ImageTest, Module_may_end_where_addresses_end_and_no_further) {
    FakeMemory::Bytes bytes(kSize);
    ASSERT_TRUE(m_memory.read(kBase, bytes.data(), kSize));
    const faultkit::Address base = faultkit::Address() - kSize;
    FakeMemory top;
    top.put(base, bytes);
    Image image;
    EXPECT_TRUE(faultkit::read_image(top, base, &image));
    top.put_u32(base + kHeaders + 24 + 56, kSize + 1);
    EXPECT_FALSE(faultkit::read_image(top, base, &image));
}

} // namespace
