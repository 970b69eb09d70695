// The long name and the compact tag are built by the same steps, each piece given in both spellings. Systems after 5.2
// have no name of their own: edition and build are all that their text has.
#include "sysinfo/win_version_text.h"

#include "base/text_search.h"

namespace sysinfo {

namespace {

// Appends to one of the two spellings, which always grow together. Every long piece ends in a blank, every tag in "_".
class Spelling {
public:
    explicit Spelling(bool tag) : m_tag(tag) {}

    void add(const char* long_piece, const char* tag_piece) { m_text += m_tag ? tag_piece : long_piece; }
    void add(const CStdString& piece) { m_text += piece; }
    bool is_tag() const { return m_tag; }

    CStdString finish() {
        m_text.trim_right("_");
        return static_cast<CStdString&&>(m_text);
    }

private:
    const bool m_tag;
    CStdString m_text;
};

// Those from 5.1 on have their names from their editions.
void add_nt_name(const WinVersion& version, Spelling& text) {
    if (version.major < 5)
        text.add("Microsoft Windows NT ", "WinNT_");
    else if (version.major == 5 && version.minor == 0)
        text.add("Microsoft Windows 2000 ", "Win2k_");
}

// The service-pack text of these systems is a blank and a letter.
void add_9x_name(const WinVersion& version, Spelling& text) {
    if (version.major != 4)
        return;
    const char letter = version.service_pack[0] ? version.service_pack[1] : '\0';
    switch (version.minor) {
    case 0:
        text.add("Microsoft Windows 95 ", "Win95_");
        if (letter == 'C' || letter == 'B')
            text.add("OSR2 ", "OSR2_");
        break;
    case 10:
        text.add("Microsoft Windows 98 ", "Win98_");
        if (letter == 'A')
            text.add("SE ", "SE_");
        break;
    case 90:
        text.add("Microsoft Windows Millennium Edition ", "WinMe_");
        break;
    }
}

void add_registry_edition(const char* name, Spelling& text) {
    if (gen::equal_ignoring_case(name, "WINNT"))
        text.add("Professional ", "Prof_");
    else if (gen::equal_ignoring_case(name, "LANMANNT"))
        text.add("Server ", "Srv_");
    else if (gen::equal_ignoring_case(name, "SERVERNT"))
        text.add("Advanced Server ", "AdvSrv_");
}

void add_workstation_edition(const WinVersion& version, Spelling& text) {
    constexpr unsigned kPersonal = 0x200;
    if (version.major == 5 && version.minor == 1)
        text.add("Microsoft Windows XP ", "WinXP_");
    if (version.suite_mask & kPersonal)
        text.add("Home Edition ", "Home_");
    else
        text.add("Professional ", "Prof_");
}

void add_server_edition(const WinVersion& version, Spelling& text) {
    constexpr unsigned kDatacenter = 0x80;
    constexpr unsigned kEnterprise = 0x02;
    if (version.major == 5 && version.minor == 2)
        text.add("Microsoft Windows .NET ", "Win.NET_");
    if (version.suite_mask & kDatacenter)
        text.add("DataCenter Server ", "DtSrv_");
    else if (version.suite_mask & kEnterprise)
        version.major == 4 ? text.add("Advanced Server ", "AdvSrv_") : text.add("Enterprise Server ", "EtpSrv_");
    else
        text.add("Server ", "Srv_"); // Kept: a web server is one, too.
}

void add_extended_edition(const WinVersion& version, Spelling& text) {
    constexpr uint8_t kWorkstation = 1;
    constexpr uint8_t kServer = 3;
    if (version.product_type == kWorkstation)
        add_workstation_edition(version, text);
    else if (version.product_type == kServer)
        add_server_edition(version, text);
}

void add_build(const WinVersion& version, Spelling& text) {
    const int build = static_cast<int>(version.build & 0xFFFF);
    CStdString piece;
    if (text.is_tag())
        piece.format("SP%d_", version.service_pack_major);
    else if (version.major > 4)
        piece.format("%s (Build %d)\n", version.service_pack, build);
    else
        // The name has no number of its own up to NT 4.
        piece.format("version %d.%d %s (Build %d)\n", static_cast<int>(version.major), static_cast<int>(version.minor),
                     version.service_pack, build);
    text.add(piece);
}

} // namespace

CStdString describe_win_version(const WinVersion& version, bool tag) {
    if (!version.known)
        return tag ? "Unk0" : "Unknown [tag 0]";

    Spelling text(tag);
    if (version.platform == WinVersion::kPlatformNt) {
        add_nt_name(version, text);
        if (version.extended)
            add_extended_edition(version, text);
        else if (version.edition == RegistryEdition::key_missing)
            return tag ? "Unk1" : "Unknown [tag 1]";
        else if (version.edition == RegistryEdition::value_missing)
            return tag ? "Unk2" : "Unknown [tag 2]";
        else
            add_registry_edition(version.edition_name, text);
        add_build(version, text);
    } else if (version.platform == WinVersion::kPlatform9x) {
        add_9x_name(version, text);
    }
    return text.finish();
}

} // namespace sysinfo
