// One row for each format. The top byte of a code holds the format's traits, the others are the letters of its name.
#include "glib/format_table.h"

namespace glib {

namespace {

constexpr FormatOption kReadWrite[] = {{'R', "Enable read"}, {'W', "Enable write"}};

constexpr EFormat code(uint32_t top, const char (&name)[4]) {
    return static_cast<EFormat>(top << 24 | name_bits(format_from_name(name)));
}

// clang-format off
constexpr FormatRow kRows[] = {
    {code(0x70, "FLM"), 0, nullptr, "Torvex Film"},
    {code(0x24, "BMP"), 0, nullptr, "Windows Bitmap"},
    {code(0x32, "GIF"), 0, nullptr, "Compuserve GIF"},
    {code(0x04, "JPG"), 0, nullptr, "Joint Photographic Experts Group"},
    {code(0x32, "ANI"), 0, nullptr, "Windows Animated Cursor"},
    {code(0x30, "ICO"), 0, nullptr, "Windows Icon"},
    {code(0x30, "CUR"), 0, nullptr, "Windows Cursor"},
    {code(0x00, "PCX"), 0, nullptr, "ZSoft Paintbrush"},
    {code(0x10, "DCX"), 0, nullptr, "Multipage PCX"},
    {code(0x00, "PBM"), 0, nullptr, "Portable Bitmap"},
    {code(0x00, "PGM"), 0, nullptr, "Portable Graymap"},
    {code(0x00, "PPM"), 0, nullptr, "Portable Pixelmap"},
    {code(0x20, "TGA"), 0, nullptr, "Truevision Targa"},
    {code(0x34, "TIF"), 0, nullptr, "Tagged Image File Format"},
    {code(0x00, "PCD"), 0, nullptr, "Kodak Photo CD"},
    {code(0x24, "PNG"), 0, nullptr, "Portable Network Graphic"},
    {code(0x00, "FPX"), 0, nullptr, "FlashPix"},
    {code(0x00, "WBM"), 0, nullptr, "Wireless Mono Bitmap"},
    {code(0x00, "IMG"), 0, nullptr, "GEM Bit image"},
    {code(0x00, "IFF"), 0, nullptr, "Amiga Interchange File Format"},
    {code(0x00, "RAS"), 0, nullptr, "SUN Raster File"},
    {code(0x00, "SGI"), 0, nullptr, "Silicon Graphics Image"},
    {code(0x00, "XBM"), 0, nullptr, "X11 bitmap"},
    {code(0x00, "XPM"), 0, nullptr, "X11 pixmap"},
    {code(0x04, "PSD"), 0, nullptr, "Adobe Photoshop"},
    {code(0x20, "PSP"), 0, nullptr, "Paint Shop Pro"},
    {code(0x00, "RLE"), 0, nullptr, "Utah Raster"},
    {code(0x36, "MNG"), 0, nullptr, "Multiple Network Graphic"},
    {code(0x24, "JNG"), 0, nullptr, "JPEG Network Graphic"},
    {code(0x10, "CLP"), 0, nullptr, "Windows Clipboard"},
    {code(0x00, "CUT"), 0, nullptr, "CUT Dr. Halo"},
    {code(0x00, "OTA"), 0, nullptr, "Nokia Logo Bitmap"},
    {code(0x20, "JP2"), 0, nullptr, "JPEG 2000"},
    {code(0x20, "RAW"), 0, nullptr, "RAW pixel format"},
    {code(0x00, "JBG"), 0, nullptr, "Joint Bi-level Image experts Group"},
    {code(0x00, "JB2"), 0, nullptr, "Joint Bi-level Image experts Group v2"},
    {code(0x00, "PIX"), 0, nullptr, "Alias/Wavefront PIX"},
    {code(0x00, "RLA"), 0, nullptr, "Alias/Wavefront RLA/RLB"},
    {code(0x00, "BMA"), 0, nullptr, "OS2 Bitmap array"},
    {code(0x02, "DCM"), 0, nullptr, "Dicom medical image"},
    {code(0x00, "MSP"), 0, nullptr, "Microsoft Paint"},
    {code(0x00, "MAC"), 0, nullptr, "MacDraw Format"},
    {code(0x00, "VIC"), 0, nullptr, "Vicar rasterfile format"},
    {code(0x00, "KOA"), 0, nullptr, "Koala Paint"},
    {code(0x00, "XWD"), 0, nullptr, "X Windows system dump"},
    {code(0x00, "PDB"), 0, nullptr, "Palm Pilot Image File"},
    {code(0x00, "CAL"), 0, nullptr, "CALS Raster"},
    {code(0x00, "SFF"), 0, nullptr, "Structure Fax Format"},
    {code(0x00, "FXM"), 0, nullptr, "Symantec WinFax Format"},
    {code(0x00, "G3 "), 0, nullptr, "Group3 1D/2D Fax Format"},
    {code(0x00, "G4 "), 0, nullptr, "Group4 Fax Format"},
    {code(0x00, "DPX"), 0, nullptr, "Cineon Image File Format"},
    {code(0x01, "AVI"), 0, nullptr, "Audio/Video Interleaved"},
    {code(0x01, "MPG"), 0, nullptr, "MPEG Video stream"},
    {code(0x01, "QTM"), 0, nullptr, "Quick time movie"},
    {code(0x80, "WMF"), 0, nullptr, "Windows Metafile"},
    {code(0x80, "AMF"), 0, nullptr, "Aldus Metafile"},
    {code(0x80, "EMF"), 0, nullptr, "Enhanced Metafile"},
    {code(0xB2, "SWF"), 0, nullptr, "Macromedia flash"},
    {code(0x00, "PCT"), 0, nullptr, "Macintosh picture"},
    {code(0x80, "WPG"), 0, nullptr, "WordPerfect Graphics"},
    {code(0x80, "DXF"), 0, nullptr, "Drawing Interchange Format"},
    {code(0x80, "HPG"), 0, nullptr, "HP Graphic Language"},
    {code(0x90, "EPS"), 2, kReadWrite, "Encapsulated Post Script"},
    {code(0x90, "PDF"), 2, kReadWrite, "Portable Document Format"},
    {code(0x80, "SNP"), 0, nullptr, "Microsoft Access SNAP file"},
    {code(0x80, "CGM"), 0, nullptr, "Computer Graphics Metafile"},
    {code(0x00, "PIC"), 0, nullptr, "Softimage PIC"},
    {code(0x00, "ICN"), 0, nullptr, "AT&T / Multigen ICN"},
    {code(0x00, "DDS"), 0, nullptr, "Direct Draw Surface"},
    {code(0x00, "EXR"), 0, nullptr, "OpenEXR"},
    {code(0x00, "DCR"), 0, nullptr, "Digital Camera Raw"},
    {code(0x00, "WBC"), 0, nullptr, "Webshots Image"},
    {code(0x00, "PFM"), 0, nullptr, "Portable Floatmap"},
    {code(0x00, "PAM"), 0, nullptr, "Portable Anymap"},
    {code(0x00, "HDR"), 0, nullptr, "HDRI Radiance"},
    {code(0x00, "SCT"), 0, nullptr, "Scitex CT"},
    {code(0x00, "PXR"), 0, nullptr, "Pixar picture"},
};
// clang-format on

constexpr unsigned kRowCount = sizeof(kRows) / sizeof(kRows[0]);

} // namespace

unsigned format_table(const FormatRow** rows) {
    if (rows)
        *rows = kRows;
    return kRowCount;
}

const FormatRow* find_format(EFormat format) {
    for (const FormatRow& row : kRows)
        if (same_format(row.code, format))
            return &row;
    return nullptr;
}

} // namespace glib
