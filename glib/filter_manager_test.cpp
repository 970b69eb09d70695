#include "glib/filter_manager.h"

#include <gtest/gtest.h>

#include "testing/cxx/fake_loader.h"
#include "glib/mem_stream.h"
#include "testing/cxx/recorded_boxes.h"

namespace glib {
namespace {

// What the modules of these tests do and see.
struct Seen {
    const ModuleServices* services = nullptr;
    const BaseFormatDesc* options = nullptr;
    uint32_t request_kind = 99;
    int32_t page = 99;
    uint32_t width = 0, height = 0;
    int load_calls = 0;
} g_seen;
ResultCode g_answer = RCOK;
bool g_adds_page = true;

template <uint32_t version, uint32_t... codes>
void GLIB_CALL describe(uint32_t request_kind, FilterInfoRequest* request) {
    static const uint32_t kFormats[] = {codes..., 0};
    g_seen.request_kind = request_kind;
    g_seen.services = request->services;
    EXPECT_EQ(request->size, sizeof(FilterInfoRequest));
    request->interface_version = version;
    request->format_count = sizeof...(codes);
    request->formats = kFormats;
}

ResultCode GLIB_CALL load(ImageDataExchange* image, VStream*, int32_t page) {
    ++g_seen.load_calls;
    g_seen.page = page;
    if (g_adds_page)
        g_seen.services->AddPage(image, 3, 2, 24);
    return g_answer;
}
ResultCode GLIB_CALL info(VStream*, ImageFileInfo* info) {
    info->width = 7;
    return g_answer;
}
ResultCode GLIB_CALL thumbnail(ImageDataExchange* image, VStream*, uint32_t width, uint32_t height) {
    g_seen.width = width;
    g_seen.height = height;
    g_seen.services->AddPage(image, 1, 1, 24);
    return g_answer;
}
ResultCode GLIB_CALL save(ImageDataExchange*, VStream*, const BaseFormatDesc* options) {
    g_seen.options = options;
    return g_answer;
}

constexpr uint32_t kPng = 0x24504E47, kEps = 0x90455053, kG3 = 0x00473320;

FakeModule jpeg_module() {
    FakeModule module;
    module.with("GetFilterInfo", describe<0x800, EFormat_JPG>)
        .with_format("JPG", load, info)
        .with("LoadJPGImageThumbnail", thumbnail)
        .with("SaveJPGImageData", save);
    return module;
}

class FilterManagerTest : public testing::Test {
protected:
    void SetUp() override {
        g_seen = Seen();
        g_answer = RCOK;
        g_adds_page = true;
        clear_recorded_boxes();
    }
    void TearDown() override {
        if (m_manager)
            delete m_manager;
        EXPECT_EQ(m_loader.loaded, 0) << "modules are freed once each";
    }
    FilterManager& manager() {
        if (!m_manager)
            m_manager = new FilterManager(m_loader);
        return *m_manager;
    }
    ResultCode load_as(uint32_t format) {
        ImageDataExchange image;
        return manager().Load(static_cast<EFormat>(format), image, m_stream, -1);
    }

    FakeLoader m_loader;
    VMemStream m_stream;

private:
    FilterManager* m_manager = nullptr;
};

TEST_F(FilterManagerTest, Starts_with_one_module_and_no_directory) {
    m_loader.modules["fall.dll"] = jpeg_module();
    EXPECT_TRUE(manager().directory().empty());
    EXPECT_EQ(manager().names().size(), 1u);
    EXPECT_TRUE(m_loader.loads.empty()) << "bound when a format is first needed";
    EXPECT_EQ(load_as(EFormat_JPG), RCOK);
    EXPECT_EQ(m_loader.loads, (std::vector<FakeLoader::Call>{{"fall.dll", 0}}));
    EXPECT_EQ(load_as(EFormat_JPG), RCOK);
    EXPECT_EQ(m_loader.loads.size(), 1u) << "once";
    EXPECT_EQ(g_seen.request_kind, 0u);
    EXPECT_EQ(g_seen.services, &module_services());
}

TEST_F(FilterManagerTest, Loads_from_a_directory_with_the_altered_search_path) {
    m_loader.modules["C:\\mods\\x.flt"] = jpeg_module();
    manager().SetUp("C:\\mods\\", "x.flt\n");
    EXPECT_STREQ(manager().directory().c_str(), "C:\\mods");
    EXPECT_EQ(load_as(EFormat_JPG), RCOK);
    EXPECT_EQ(m_loader.loads, (std::vector<FakeLoader::Call>{{"C:\\mods\\x.flt", 8}}));
}

TEST_F(FilterManagerTest, A_new_set_up_replaces_the_old_one) {
    m_loader.modules["fall.dll"] = jpeg_module();
    EXPECT_EQ(load_as(EFormat_JPG), RCOK);
    manager().SetUp("C:\\none", "other\n");
    EXPECT_EQ(m_loader.loaded, 0);
    EXPECT_EQ(load_as(EFormat_JPG), UNSF);
    manager().SetUp("", "fall");
    EXPECT_TRUE(manager().directory().empty());
    EXPECT_EQ(load_as(EFormat_JPG), RCOK);
    EXPECT_EQ(m_loader.loads.back(), (FakeLoader::Call{"fall.dll", 0}));
}

TEST_F(FilterManagerTest, A_module_that_is_not_there_is_passed_over_in_silence) {
    EXPECT_EQ(load_as(EFormat_JPG), UNSF);
    EXPECT_EQ(recorded_boxes().size(), 0u);
}

// One that could not be loaded when it was first needed used to be given up for the life of the process.
TEST_F(FilterManagerTest, A_module_that_could_not_be_loaded_is_tried_again_at_the_next_need) {
    FakeModule other;
    other.with("GetFilterInfo", describe<0x800, kPng>).with_format("PNG", load, info);
    m_loader.modules["other.dll"] = other;
    manager().SetUp(nullptr, "fall\nother\n");
    EXPECT_EQ(load_as(EFormat_JPG), UNSF);
    EXPECT_EQ(load_as(kPng), RCOK);
    EXPECT_EQ(m_loader.loaded, 1);
    m_loader.modules["fall.dll"] = jpeg_module();
    m_loader.loads.clear();
    EXPECT_EQ(load_as(kPng), RCOK);
    EXPECT_TRUE(m_loader.loads.empty()) << "what is there is not waited for";
    EXPECT_EQ(load_as(EFormat_JPG), RCOK);
    EXPECT_EQ(manager().FormatCount(), 2u);
    EXPECT_EQ(m_loader.loads.size(), 1u) << "once loaded, a module is not loaded again";
}

TEST_F(FilterManagerTest, A_module_that_was_refused_is_not_tried_again) {
    m_loader.modules["mute.dll"].with("LoadJPGImageData", load);
    m_loader.modules["old.dll"] = jpeg_module().with("GetFilterInfo", describe<0x7FF, EFormat_JPG>);
    manager().SetUp(nullptr, "mute\nold\n");
    EXPECT_EQ(load_as(EFormat_JPG), UNSF);
    EXPECT_EQ(load_as(EFormat_JPG), UNSF);
    EXPECT_EQ(m_loader.loads.size(), 2u);
    EXPECT_EQ(recorded_boxes().size(), 1u);
}

// Both arguments used to be read after the manager had freed them.
TEST_F(FilterManagerTest, A_set_up_may_name_the_managers_own_directory_and_names) {
    m_loader.modules["C:\\a directory of more than a few letters\\x.flt"] = jpeg_module();
    manager().SetUp("C:\\a directory of more than a few letters", "x.flt\n");
    manager().SetUp(manager().directory().c_str(), manager().names()[0]);
    EXPECT_STREQ(manager().directory().c_str(), "C:\\a directory of more than a few letters");
    ASSERT_EQ(manager().names().size(), 1u);
    EXPECT_STREQ(manager().names()[0], "x.flt");
    EXPECT_EQ(load_as(EFormat_JPG), RCOK);
}

TEST_F(FilterManagerTest, A_module_without_its_discovery_entry_brings_up_a_box) {
    m_loader.modules["fall.dll"].with("LoadJPGImageData", load);
    EXPECT_EQ(load_as(EFormat_JPG), UNSF);
    ASSERT_EQ(recorded_boxes().size(), 1u);
    EXPECT_EQ(recorded_boxes()[0].text, "Bad format for 'fall.dll'");
    EXPECT_EQ(recorded_boxes()[0].flags, 0x10u);
    EXPECT_EQ(recorded_boxes()[0].owner, nullptr);
    EXPECT_EQ(m_loader.loaded, 0);
    load_as(EFormat_JPG);
    EXPECT_EQ(recorded_boxes().size(), 1u) << "once per set-up";
}

TEST_F(FilterManagerTest, Another_interface_version_is_dropped_in_silence) {
    for (const auto entry : {describe<0x7FF, EFormat_JPG>, describe<0x801, EFormat_JPG>, describe<0, EFormat_JPG>}) {
        m_loader.modules["fall.dll"] = jpeg_module().with("GetFilterInfo", entry);
        manager().SetUp(nullptr, "fall\n");
        EXPECT_EQ(load_as(EFormat_JPG), UNSF);
        EXPECT_EQ(m_loader.loaded, 0);
    }
    EXPECT_EQ(recorded_boxes().size(), 0u);
}

TEST_F(FilterManagerTest, A_format_without_a_required_entry_brings_up_a_box_and_is_skipped) {
    for (const char* missing : {"LoadPNGImageData", "GetPNGFileInfo"}) {
        clear_recorded_boxes();
        FakeModule module = jpeg_module();
        module.with("GetFilterInfo", describe<0x800, kPng, EFormat_JPG>).with_format("PNG", load, info);
        module.entries.erase(missing);
        m_loader.modules["C:\\m\\two.dll"] = module;
        manager().SetUp("C:\\m", "two\n");
        EXPECT_EQ(load_as(kPng), UNSF);
        EXPECT_EQ(load_as(EFormat_JPG), RCOK);
        ASSERT_EQ(recorded_boxes().size(), 1u);
        EXPECT_EQ(recorded_boxes()[0].text, "Bad format for PNG, 'two.dll'");
        EXPECT_EQ(recorded_boxes()[0].flags, 0x10u);
    }
}

TEST_F(FilterManagerTest, A_module_of_which_nothing_is_of_use_is_freed) {
    m_loader.modules["fall.dll"].with("GetFilterInfo", describe<0x800, EFormat_JPG>);
    EXPECT_EQ(load_as(EFormat_JPG), UNSF);
    EXPECT_EQ(m_loader.loaded, 0);
}

TEST_F(FilterManagerTest, A_two_letter_format_has_no_blank_in_its_entries) {
    m_loader.modules["fall.dll"].with("GetFilterInfo", describe<0x800, kG3>).with_format("G3", load, info);
    EXPECT_EQ(load_as(kG3), RCOK);
    EXPECT_EQ(m_loader.asked, (std::vector<std::string>{"GetFilterInfo", "LoadG3ImageData", "GetG3FileInfo",
                                                        "SaveG3ImageData", "LoadG3ImageThumbnail"}));
}

TEST_F(FilterManagerTest, A_format_without_save_or_thumbnail_says_so) {
    m_loader.modules["fall.dll"].with("GetFilterInfo", describe<0x800, EFormat_JPG>).with_format("JPG", load, info);
    ImageDataExchange image;
    EXPECT_EQ(manager().CanSave(EFormat_JPG), NSUP);
    EXPECT_EQ(manager().Save(EFormat_JPG, image, m_stream, JPGSave()), NSUP);
    EXPECT_EQ(manager().Thumbnail(EFormat_JPG, image, m_stream, 10, 10), NSUP);
    ASSERT_EQ(manager().FormatCount(), 1u);
    EXPECT_FALSE(manager().Format(0).can_save);
    EXPECT_FALSE(manager().Format(0).has_thumbnail);
    EXPECT_EQ(manager().CanSave(static_cast<EFormat>(kPng)), UNSF);
}

TEST_F(FilterManagerTest, Codes_are_compared_by_their_low_24_bits) {
    m_loader.modules["fall.dll"] = jpeg_module().with("GetFilterInfo", describe<0x800, 0xFF4A5047>);
    EXPECT_EQ(load_as(0x004A5047), RCOK);
    EXPECT_EQ(load_as(0x044A5047), RCOK);
    ASSERT_EQ(manager().FormatCount(), 1u);
    EXPECT_EQ(manager().Format(0).format, EFormat_JPG) << "the table knows better";
    EXPECT_EQ(manager().Format(0).row, find_format(EFormat_JPG));
}

TEST_F(FilterManagerTest, Of_two_modules_with_one_format_the_first_counts) {
    m_loader.modules["one.dll"] = jpeg_module();
    m_loader.modules["two.dll"] = jpeg_module();
    manager().SetUp(nullptr, "one\ntwo\n");
    EXPECT_EQ(manager().FormatCount(), 1u);
    EXPECT_EQ(m_loader.loaded, 1) << "the second serves nothing";
    EXPECT_EQ(recorded_boxes().size(), 0u);
}

TEST_F(FilterManagerTest, The_entries_get_what_the_caller_gave) {
    m_loader.modules["fall.dll"] = jpeg_module();
    ImageDataExchange image;
    EXPECT_EQ(manager().Load(EFormat_JPG, image, m_stream, 5), RCOK);
    EXPECT_EQ(g_seen.page, 5);
    ASSERT_EQ(image.pages.size(), 1u);
    EXPECT_EQ(image.pages[0]->width, 3u);
    ImageFileInfo found;
    EXPECT_EQ(manager().Info(EFormat_JPG, m_stream, found), RCOK);
    EXPECT_EQ(found.width, 7u);
    EXPECT_EQ(found.format, uint32_t(EFormat_JPG));
    EXPECT_EQ(manager().Thumbnail(EFormat_JPG, image, m_stream, 40, 30), RCOK);
    EXPECT_EQ(g_seen.width, 40u);
    EXPECT_EQ(g_seen.height, 30u);
    const JPGSave options(33);
    EXPECT_EQ(manager().Save(EFormat_JPG, image, m_stream, options), RCOK);
    EXPECT_EQ(g_seen.options, &options);
}

TEST_F(FilterManagerTest, A_failed_load_leaves_no_pages) {
    m_loader.modules["fall.dll"] = jpeg_module();
    for (ResultCode code : {BADI, BADT, OMEM, USRA, CFLT}) {
        g_answer = code;
        ImageDataExchange image;
        EXPECT_EQ(manager().Load(EFormat_JPG, image, m_stream, -1), code);
        EXPECT_EQ(image.pages.size(), 0u);
        EXPECT_EQ(manager().Thumbnail(EFormat_JPG, image, m_stream, 1, 1), code);
        EXPECT_EQ(image.pages.size(), 0u);
    }
    g_answer = OKAF;
    EXPECT_EQ(load_as(EFormat_JPG), OKAF);
}

TEST_F(FilterManagerTest, A_success_without_a_page_is_the_modules_fault) {
    m_loader.modules["fall.dll"] = jpeg_module();
    g_adds_page = false;
    EXPECT_EQ(load_as(EFormat_JPG), CFLT);
}

TEST_F(FilterManagerTest, A_code_that_there_is_not_is_the_modules_fault) {
    m_loader.modules["fall.dll"] = jpeg_module();
    g_answer = static_cast<ResultCode>(0x12345678);
    EXPECT_EQ(load_as(EFormat_JPG), CFLT);
}

TEST_F(FilterManagerTest, Options_switch_reading_and_writing_off) {
    m_loader.modules["fall.dll"]
        .with("GetFilterInfo", describe<0x800, kEps, EFormat_JPG>)
        .with_format("EPS", load, info)
        .with("SaveEPSImageData", save)
        .with_format("JPG", load, info);
    const EFormat eps = static_cast<EFormat>(kEps);
    EXPECT_FALSE(manager().SetOption(EFormat_JPG, 'R', false)) << "has no options";
    EXPECT_FALSE(manager().SetOption(static_cast<EFormat>(0x24585858), 'R', false)) << "there is none";
    EXPECT_FALSE(manager().SetOption(eps, 'X', false));
    EXPECT_TRUE(manager().SetOption(eps, 'R', false));
    EXPECT_EQ(load_as(kEps), DISF);
    EXPECT_EQ(manager().CanSave(eps), RCOK);
    ImageDataExchange image;
    EXPECT_EQ(manager().Thumbnail(eps, image, m_stream, 5, 5), DISF);
    EXPECT_TRUE(manager().SetOption(eps, 'W', false));
    EXPECT_EQ(manager().CanSave(eps), DISF);
    EXPECT_EQ(manager().Save(eps, image, m_stream, JPGSave()), DISF);
    EXPECT_TRUE(manager().SetOption(eps, 'R', true));
    EXPECT_EQ(load_as(kEps), RCOK);
    EXPECT_EQ(manager().CanSave(eps), DISF);
}

uint32_t g_magic; // the format whose module takes the data for its own
template <uint32_t format>
ResultCode GLIB_CALL picky_info(VStream* m_stream, ImageFileInfo*) {
    m_stream->ReadByte(); // moves the m_stream, as a real module does
    return g_magic == format ? g_answer : BADT;
}

TEST_F(FilterManagerTest, The_data_decides_which_format_it_is) {
    m_loader.modules["fall.dll"]
        .with("GetFilterInfo", describe<0x800, kPng, EFormat_JPG>)
        .with_format("PNG", load, picky_info<kPng>)
        .with_format("JPG", load, picky_info<EFormat_JPG>);
    m_stream.WriteString("xx data");
    m_stream.SetPosition(3);
    for (const char* name : {"a.png", "a.jpg", "a.JPEG", "jpg", "a.b\\c", "", static_cast<const char*>(nullptr)}) {
        EFormat found = EFormat_none;
        g_magic = EFormat_JPG;
        EXPECT_EQ(manager().Detect(m_stream, name, &found), RCOK);
        EXPECT_EQ(found, EFormat_JPG);
        EXPECT_EQ(m_stream.Tell(), 3u);
        g_magic = 0;
        EXPECT_EQ(manager().Detect(m_stream, name, &found), UNSF);
        EXPECT_EQ(found, EFormat_none);
        g_magic = kPng;
        g_answer = BADI;
        EXPECT_EQ(manager().Detect(m_stream, name, &found), BADI) << "its own data, but damaged";
        g_answer = RCOK;
    }
}

// In the order of the calls.
std::vector<uint32_t> g_asked;
template <uint32_t format>
ResultCode GLIB_CALL noting_info(VStream*, ImageFileInfo*) {
    g_asked.push_back(format);
    return BADT;
}

TEST_F(FilterManagerTest, The_format_of_the_extension_is_asked_first) {
    constexpr uint32_t kTif = 0x24544946;
    m_loader.modules["fall.dll"]
        .with("GetFilterInfo", describe<0x800, kPng, EFormat_JPG, kTif>)
        .with_format("PNG", load, noting_info<kPng>)
        .with_format("JPG", load, noting_info<EFormat_JPG>)
        .with_format("TIF", load, noting_info<kTif>);
    const struct {
        const char* name;
        uint32_t first;
    } cases[] = {{"a.jpg", EFormat_JPG},
                 {"a.JPEG", EFormat_JPG},
                 {"a.jpe", EFormat_JPG},
                 {"a.tif", kTif},
                 {"a.tiff", kTif},
                 {"C:\\b.c\\a.Tif", kTif},
                 {"a.tiffs", kPng},
                 {"a.jpegs", kPng},
                 {"a.tif\\a", kPng},
                 {"a.tif/a", kPng},
                 {"a", kPng},
                 {"a.png", kPng}};
    for (const auto& c : cases) {
        g_asked.clear();
        EFormat found;
        EXPECT_EQ(manager().Detect(m_stream, c.name, &found), UNSF);
        ASSERT_EQ(g_asked.size(), 3u) << "each once";
        EXPECT_EQ(g_asked[0], c.first) << c.name;
    }
}

void GLIB_CALL describe_nothing(uint32_t, FilterInfoRequest* request) {
    request->interface_version = 0x800;
    request->format_count = 1;
}
void GLIB_CALL describe_too_much(uint32_t, FilterInfoRequest* request) {
    static const uint32_t kFormats[] = {EFormat_JPG};
    request->interface_version = 0x800;
    request->format_count = 0xFFFFFFFF;
    request->formats = kFormats;
}

TEST_F(FilterManagerTest, A_module_whose_list_of_formats_cant_be_is_dropped) {
    for (const auto describe_badly : {describe_nothing, describe_too_much}) {
        m_loader.modules["fall.dll"] = jpeg_module().with("GetFilterInfo", describe_badly);
        manager().SetUp(nullptr, "fall.dll\n");
        EXPECT_EQ(manager().FormatCount(), 0u);
    }
}

TEST_F(FilterManagerTest, A_format_that_nobody_has_heard_of_is_the_modules_own) {
    constexpr uint32_t kUnheard = 0x24585858;
    m_loader.modules["fall.dll"].with("GetFilterInfo", describe<0x800, kUnheard>).with_format("XXX", load, info);
    EXPECT_EQ(load_as(kUnheard), RCOK);
    EXPECT_EQ(static_cast<uint32_t>(manager().Format(0).format), kUnheard);
    EXPECT_EQ(manager().Format(0).row, nullptr);
}

} // namespace
} // namespace glib
