#include "glib/format_table.h"

#include <iterator>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "base/array.h"

// Lists of formats: every member of the array takes enumerators.
template class gen::array<glib::EFormat>;

namespace glib {
namespace {

TEST(FormatTable, Has_78_rows_and_every_name_once) {
    const FormatRow* rows = nullptr;
    ASSERT_EQ(format_table(&rows), 78u);
    EXPECT_EQ(format_table(nullptr), 78u);
    std::set<std::string> names;
    for (unsigned i = 0; i < 78; ++i) {
        names.insert(FormatName(rows[i].code).text);
        EXPECT_EQ(find_format(rows[i].code), &rows[i]);
        EXPECT_NE(rows[i].name, nullptr);
    }
    EXPECT_EQ(names.size(), 78u);
}

struct ExpectedRow {
    const char* short_name;
    unsigned top_byte; // of the code
    const char* name;
    bool has_options;
};

// clang-format off
const ExpectedRow kExpectedRows[] = {
    {"FLM", 0x70, "Torvex Film", false},
    {"BMP", 0x24, "Windows Bitmap", false},
    {"GIF", 0x32, "Compuserve GIF", false},
    {"JPG", 0x04, "Joint Photographic Experts Group", false},
    {"ANI", 0x32, "Windows Animated Cursor", false},
    {"ICO", 0x30, "Windows Icon", false},
    {"CUR", 0x30, "Windows Cursor", false},
    {"PCX", 0x00, "ZSoft Paintbrush", false},
    {"DCX", 0x10, "Multipage PCX", false},
    {"PBM", 0x00, "Portable Bitmap", false},
    {"PGM", 0x00, "Portable Graymap", false},
    {"PPM", 0x00, "Portable Pixelmap", false},
    {"TGA", 0x20, "Truevision Targa", false},
    {"TIF", 0x34, "Tagged Image File Format", false},
    {"PCD", 0x00, "Kodak Photo CD", false},
    {"PNG", 0x24, "Portable Network Graphic", false},
    {"FPX", 0x00, "FlashPix", false},
    {"WBM", 0x00, "Wireless Mono Bitmap", false},
    {"IMG", 0x00, "GEM Bit image", false},
    {"IFF", 0x00, "Amiga Interchange File Format", false},
    {"RAS", 0x00, "SUN Raster File", false},
    {"SGI", 0x00, "Silicon Graphics Image", false},
    {"XBM", 0x00, "X11 bitmap", false},
    {"XPM", 0x00, "X11 pixmap", false},
    {"PSD", 0x04, "Adobe Photoshop", false},
    {"PSP", 0x20, "Paint Shop Pro", false},
    {"RLE", 0x00, "Utah Raster", false},
    {"MNG", 0x36, "Multiple Network Graphic", false},
    {"JNG", 0x24, "JPEG Network Graphic", false},
    {"CLP", 0x10, "Windows Clipboard", false},
    {"CUT", 0x00, "CUT Dr. Halo", false},
    {"OTA", 0x00, "Nokia Logo Bitmap", false},
    {"JP2", 0x20, "JPEG 2000", false},
    {"RAW", 0x20, "RAW pixel format", false},
    {"JBG", 0x00, "Joint Bi-level Image experts Group", false},
    {"JB2", 0x00, "Joint Bi-level Image experts Group v2", false},
    {"PIX", 0x00, "Alias/Wavefront PIX", false},
    {"RLA", 0x00, "Alias/Wavefront RLA/RLB", false},
    {"BMA", 0x00, "OS2 Bitmap array", false},
    {"DCM", 0x02, "Dicom medical image", false},
    {"MSP", 0x00, "Microsoft Paint", false},
    {"MAC", 0x00, "MacDraw Format", false},
    {"VIC", 0x00, "Vicar rasterfile format", false},
    {"KOA", 0x00, "Koala Paint", false},
    {"XWD", 0x00, "X Windows system dump", false},
    {"PDB", 0x00, "Palm Pilot Image File", false},
    {"CAL", 0x00, "CALS Raster", false},
    {"SFF", 0x00, "Structure Fax Format", false},
    {"FXM", 0x00, "Symantec WinFax Format", false},
    {"G3", 0x00, "Group3 1D/2D Fax Format", false},
    {"G4", 0x00, "Group4 Fax Format", false},
    {"DPX", 0x00, "Cineon Image File Format", false},
    {"AVI", 0x01, "Audio/Video Interleaved", false},
    {"MPG", 0x01, "MPEG Video stream", false},
    {"QTM", 0x01, "Quick time movie", false},
    {"WMF", 0x80, "Windows Metafile", false},
    {"AMF", 0x80, "Aldus Metafile", false},
    {"EMF", 0x80, "Enhanced Metafile", false},
    {"SWF", 0xB2, "Macromedia flash", false},
    {"PCT", 0x00, "Macintosh picture", false},
    {"WPG", 0x80, "WordPerfect Graphics", false},
    {"DXF", 0x80, "Drawing Interchange Format", false},
    {"HPG", 0x80, "HP Graphic Language", false},
    {"EPS", 0x90, "Encapsulated Post Script", true},
    {"PDF", 0x90, "Portable Document Format", true},
    {"SNP", 0x80, "Microsoft Access SNAP file", false},
    {"CGM", 0x80, "Computer Graphics Metafile", false},
    {"PIC", 0x00, "Softimage PIC", false},
    {"ICN", 0x00, "AT&T / Multigen ICN", false},
    {"DDS", 0x00, "Direct Draw Surface", false},
    {"EXR", 0x00, "OpenEXR", false},
    {"DCR", 0x00, "Digital Camera Raw", false},
    {"WBC", 0x00, "Webshots Image", false},
    {"PFM", 0x00, "Portable Floatmap", false},
    {"PAM", 0x00, "Portable Anymap", false},
    {"HDR", 0x00, "HDRI Radiance", false},
    {"SCT", 0x00, "Scitex CT", false},
    {"PXR", 0x00, "Pixar picture", false},
};
// clang-format on

TEST(FormatTable, Each_row_holds_the_code_and_the_name_that_others_rely_on) {
    const FormatRow* rows = nullptr;
    ASSERT_EQ(format_table(&rows), std::size(kExpectedRows));
    for (unsigned i = 0; i < std::size(kExpectedRows); ++i) {
        const ExpectedRow& expected = kExpectedRows[i];
        std::string letters = expected.short_name;
        letters.resize(3, ' ');
        const auto letter = [&](unsigned k) { return static_cast<uint32_t>(static_cast<unsigned char>(letters[k])); };
        EXPECT_EQ(rows[i].code, expected.top_byte << 24 | letter(0) << 16 | letter(1) << 8 | letter(2)) << i;
        EXPECT_STREQ(FormatName(rows[i].code).text, expected.short_name) << i;
        EXPECT_STREQ(rows[i].name, expected.name) << i;
        EXPECT_EQ(rows[i].option_count, expected.has_options ? 2 : 0) << i;
        EXPECT_EQ(rows[i].options != nullptr, expected.has_options) << i;
    }
    EXPECT_EQ(rows[3].code, EFormat_JPG);
}

TEST(FormatTable, The_two_rows_with_options_share_them) {
    const FormatRow* rows = nullptr;
    format_table(&rows);
    EXPECT_EQ(rows[63].options, rows[64].options);
    EXPECT_EQ(rows[63].options[0].key, 'R');
    EXPECT_STREQ(rows[63].options[0].label, "Enable read");
    EXPECT_EQ(rows[63].options[1].key, 'W');
    EXPECT_STREQ(rows[63].options[1].label, "Enable write");
}

TEST(FormatTable, Formats_are_found_by_their_low_24_bits) {
    EXPECT_EQ(find_format(static_cast<EFormat>(0x004A5047)), find_format(EFormat_JPG));
    EXPECT_EQ(find_format(static_cast<EFormat>(0x004A5048)), nullptr);
    EXPECT_EQ(find_format(EFormat_none), nullptr);
}

TEST(FormatCode, A_trailing_blank_is_not_part_of_the_name) {
    EXPECT_STREQ(FormatName(static_cast<EFormat>(0x00473320)).text, "G3");
    EXPECT_STREQ(FormatName(EFormat_JPG).text, "JPG");
    EXPECT_STREQ(FormatName(static_cast<EFormat>(0x00202020)).text, "");
    EXPECT_STREQ(FormatName(EFormat_none).text, "");
}

TEST(FormatCode, A_name_makes_the_code) {
    EXPECT_EQ(format_from_name("JPG"), 0x004A5047u);
    EXPECT_EQ(format_from_name("G3"), 0x00473320u);
    EXPECT_EQ(format_from_name("X"), 0x00582020u);
    EXPECT_EQ(format_from_name("JPEG"), EFormat_none);
    EXPECT_EQ(format_from_name(""), EFormat_none);
    EXPECT_EQ(format_from_name(nullptr), EFormat_none);
}

} // namespace
} // namespace glib
