#include <gtest/gtest.h>

#include <string.h>

#include <string>

#include "sysinfo/win_version_text.h"

namespace {

using sysinfo::describe_win_version;
using sysinfo::RegistryEdition;
using sysinfo::WinVersion;

constexpr uint8_t kWorkstation = 1, kDomainController = 2, kServer = 3;
constexpr uint16_t kPersonal = 0x200, kDatacenter = 0x80, kEnterprise = 0x02;

struct Case {
    std::string name;
    WinVersion version;
    std::string long_form;
    std::string tag;
};

WinVersion record(uint32_t platform, uint32_t major, uint32_t minor, uint32_t build, const char* service_pack) {
    WinVersion version = {};
    version.known = true;
    version.platform = platform;
    version.major = major;
    version.minor = minor;
    version.build = build;
    strcpy(version.service_pack, service_pack);
    return version;
}

WinVersion windows_9x(uint32_t minor, const char* service_pack) {
    return record(1, 4, minor, 0x040A08AE, service_pack);
}

WinVersion nt(uint32_t major, uint32_t minor, uint32_t build, uint8_t product_type, uint16_t suites = 0,
              const char* service_pack = "", uint16_t service_pack_major = 0) {
    WinVersion version = record(2, major, minor, build, service_pack);
    version.extended = true;
    version.product_type = product_type;
    version.suite_mask = suites;
    version.service_pack_major = service_pack_major;
    return version;
}

WinVersion old_nt(uint32_t major, uint32_t minor, const char* edition, const char* service_pack) {
    WinVersion version = record(2, major, minor, 1381, service_pack);
    version.edition = RegistryEdition::read;
    strcpy(version.edition_name, edition);
    return version;
}

WinVersion old_nt_with(RegistryEdition edition) {
    WinVersion version = old_nt(4, 0, "", "Service Pack 6");
    version.edition = edition;
    return version;
}

const Case kCases[] = {
    // Nothing known, or a platform without a name.
    {"NoRecord", {}, "Unknown [tag 0]", "Unk0"},
    {"Win32s", record(0, 3, 10, 153, "x"), "", ""},
    {"PlatformThree", record(3, 5, 0, 1, "x"), "", ""},

    // The 9x family: no build, no newline.
    {"Win95", windows_9x(0, ""), "Microsoft Windows 95 ", "Win95"},
    {"Win95A", windows_9x(0, " A"), "Microsoft Windows 95 ", "Win95"},
    {"Win95B", windows_9x(0, " B"), "Microsoft Windows 95 OSR2 ", "Win95_OSR2"},
    {"Win95C", windows_9x(0, " C"), "Microsoft Windows 95 OSR2 ", "Win95_OSR2"},
    {"Win95LowerCase", windows_9x(0, " b"), "Microsoft Windows 95 ", "Win95"},
    {"Win95FirstLetterOnly", windows_9x(0, "B"), "Microsoft Windows 95 ", "Win95"},
    {"Win98", windows_9x(10, ""), "Microsoft Windows 98 ", "Win98"},
    {"Win98SE", windows_9x(10, " A "), "Microsoft Windows 98 SE ", "Win98_SE"},
    {"Win98B", windows_9x(10, " B"), "Microsoft Windows 98 ", "Win98"},
    {"Win98FirstLetterOnly", windows_9x(10, "A"), "Microsoft Windows 98 ", "Win98"},
    {"WinMe", windows_9x(90, " A"), "Microsoft Windows Millennium Edition ", "WinMe"},
    {"Win9xOtherMinor", windows_9x(3, " A"), "", ""},
    {"Win9xOtherMajor", record(1, 5, 0, 1, " A"), "", ""},

    // NT without the extended record: the edition of the registry.
    {"Nt4Workstation", old_nt(4, 0, "WINNT", "Service Pack 6"),
     "Microsoft Windows NT Professional version 4.0 Service Pack 6 (Build 1381)\n", "WinNT_Prof_SP0"},
    {"Nt4DomainServer", old_nt(4, 0, "LANMANNT", "Service Pack 6"),
     "Microsoft Windows NT Server version 4.0 Service Pack 6 (Build 1381)\n", "WinNT_Srv_SP0"},
    {"Nt4Server", old_nt(4, 0, "SERVERNT", "Service Pack 6"),
     "Microsoft Windows NT Advanced Server version 4.0 Service Pack 6 (Build 1381)\n", "WinNT_AdvSrv_SP0"},
    {"EditionInLowerCase", old_nt(4, 0, "winnt", ""), "Microsoft Windows NT Professional version 4.0  (Build 1381)\n",
     "WinNT_Prof_SP0"},
    {"EditionInMixedCase", old_nt(4, 0, "LanmanNT", ""), "Microsoft Windows NT Server version 4.0  (Build 1381)\n",
     "WinNT_Srv_SP0"},
    {"EditionUnknown", old_nt(4, 0, "WINNTX", "SP"), "Microsoft Windows NT version 4.0 SP (Build 1381)\n", "WinNT_SP0"},
    {"EditionCut", old_nt(4, 0, "WINN", "SP"), "Microsoft Windows NT version 4.0 SP (Build 1381)\n", "WinNT_SP0"},
    {"EditionEmpty", old_nt(4, 0, "", "SP"), "Microsoft Windows NT version 4.0 SP (Build 1381)\n", "WinNT_SP0"},
    {"Nt351", old_nt(3, 51, "WINNT", "Service Pack 5"),
     "Microsoft Windows NT Professional version 3.51 Service Pack 5 (Build 1381)\n", "WinNT_Prof_SP0"},
    {"Win2000FromRegistry", old_nt(5, 0, "WINNT", "Service Pack 1"),
     "Microsoft Windows 2000 Professional Service Pack 1 (Build 1381)\n", "Win2k_Prof_SP0"},
    {"XpFromRegistry", old_nt(5, 1, "WINNT", "Service Pack 1"), "Professional Service Pack 1 (Build 1381)\n",
     "Prof_SP0"},
    {"RegistryKeyMissing", old_nt_with(RegistryEdition::key_missing), "Unknown [tag 1]", "Unk1"},
    {"RegistryValueMissing", old_nt_with(RegistryEdition::value_missing), "Unknown [tag 2]", "Unk2"},

    // NT with the extended record: workstations.
    {"Nt4WorkstationExtended", nt(4, 0, 1381, kWorkstation, 0, "Service Pack 6", 6),
     "Microsoft Windows NT Professional version 4.0 Service Pack 6 (Build 1381)\n", "WinNT_Prof_SP6"},
    {"Win2000Professional", nt(5, 0, 2195, kWorkstation, 0, "Service Pack 4", 4),
     "Microsoft Windows 2000 Professional Service Pack 4 (Build 2195)\n", "Win2k_Prof_SP4"},
    {"XpProfessional", nt(5, 1, 2600, kWorkstation, 0x100, "Service Pack 2", 2),
     "Microsoft Windows XP Professional Service Pack 2 (Build 2600)\n", "WinXP_Prof_SP2"},
    {"XpHome", nt(5, 1, 2600, kWorkstation, kPersonal | 0x100, "Service Pack 1", 1),
     "Microsoft Windows XP Home Edition Service Pack 1 (Build 2600)\n", "WinXP_Home_SP1"},
    {"XpWithoutServicePack", nt(5, 1, 2600, kWorkstation), "Microsoft Windows XP Professional  (Build 2600)\n",
     "WinXP_Prof_SP0"},
    {"Workstation52", nt(5, 2, 3790, kWorkstation, 0, "Service Pack 1", 1),
     "Professional Service Pack 1 (Build 3790)\n", "Prof_SP1"},
    {"Vista", nt(6, 0, 6001, kWorkstation, 0, "Service Pack 1", 1), "Professional Service Pack 1 (Build 6001)\n",
     "Prof_SP1"},
    {"VistaHome", nt(6, 0, 6001, kWorkstation, kPersonal, "Service Pack 1", 1),
     "Home Edition Service Pack 1 (Build 6001)\n", "Home_SP1"},
    {"Windows10", nt(10, 0, 19045, kWorkstation), "Professional  (Build 19045)\n", "Prof_SP0"},
    {"Windows61Minor0IsNotWin2000", nt(6, 1, 7601, kWorkstation, 0, "Service Pack 1", 1),
     "Professional Service Pack 1 (Build 7601)\n", "Prof_SP1"},
    {"BuildIsTheLow16Bits", nt(5, 1, 0xFFFF0A28, kWorkstation), "Microsoft Windows XP Professional  (Build 2600)\n",
     "WinXP_Prof_SP0"},

    // Servers.
    {"Nt4ServerExtended", nt(4, 0, 1381, kServer, 0, "Service Pack 6", 6),
     "Microsoft Windows NT Server version 4.0 Service Pack 6 (Build 1381)\n", "WinNT_Srv_SP6"},
    {"Nt4Enterprise", nt(4, 0, 1381, kServer, kEnterprise, "Service Pack 6", 6),
     "Microsoft Windows NT Advanced Server version 4.0 Service Pack 6 (Build 1381)\n", "WinNT_AdvSrv_SP6"},
    {"Nt3Enterprise", nt(3, 51, 1057, kServer, kEnterprise),
     "Microsoft Windows NT Enterprise Server version 3.51  (Build 1057)\n", "WinNT_EtpSrv_SP0"},
    {"Win2000Enterprise", nt(5, 0, 2195, kServer, kEnterprise, "Service Pack 4", 4),
     "Microsoft Windows 2000 Enterprise Server Service Pack 4 (Build 2195)\n", "Win2k_EtpSrv_SP4"},
    {"Win2000Datacenter", nt(5, 0, 2195, kServer, kDatacenter, "Service Pack 4", 4),
     "Microsoft Windows 2000 DataCenter Server Service Pack 4 (Build 2195)\n", "Win2k_DtSrv_SP4"},
    {"DatacenterBeforeEnterprise", nt(5, 0, 2195, kServer, kDatacenter | kEnterprise),
     "Microsoft Windows 2000 DataCenter Server  (Build 2195)\n", "Win2k_DtSrv_SP0"},
    {"Nt4Datacenter", nt(4, 0, 1381, kServer, kDatacenter | kEnterprise),
     "Microsoft Windows NT DataCenter Server version 4.0  (Build 1381)\n", "WinNT_DtSrv_SP0"},
    {"DotNetServer", nt(5, 2, 3790, kServer, 0, "Service Pack 1", 1),
     "Microsoft Windows .NET Server Service Pack 1 (Build 3790)\n", "Win.NET_Srv_SP1"},
    {"DotNetEnterprise", nt(5, 2, 3790, kServer, kEnterprise, "Service Pack 1", 1),
     "Microsoft Windows .NET Enterprise Server Service Pack 1 (Build 3790)\n", "Win.NET_EtpSrv_SP1"},
    {"DotNetDatacenter", nt(5, 2, 3790, kServer, kDatacenter),
     "Microsoft Windows .NET DataCenter Server  (Build 3790)\n", "Win.NET_DtSrv_SP0"},
    {"SuiteThreeIsEnterprise", nt(5, 2, 3790, kServer, 3), "Microsoft Windows .NET Enterprise Server  (Build 3790)\n",
     "Win.NET_EtpSrv_SP0"},
    {"SuiteOneIsServer", nt(5, 2, 3790, kServer, 1), "Microsoft Windows .NET Server  (Build 3790)\n",
     "Win.NET_Srv_SP0"},
    {"WebEditionIsServer", nt(5, 2, 3790, kServer, 0x400), "Microsoft Windows .NET Server  (Build 3790)\n",
     "Win.NET_Srv_SP0"},
    {"PersonalBitOfAServer", nt(5, 2, 3790, kServer, kPersonal), "Microsoft Windows .NET Server  (Build 3790)\n",
     "Win.NET_Srv_SP0"},
    {"Server51", nt(5, 1, 2600, kServer), "Server  (Build 2600)\n", "Srv_SP0"},
    {"Server2008", nt(6, 0, 6001, kServer, kEnterprise, "Service Pack 1", 1),
     "Enterprise Server Service Pack 1 (Build 6001)\n", "EtpSrv_SP1"},

    // Other product types add nothing.
    {"DomainController", nt(5, 2, 3790, kDomainController, kEnterprise, "Service Pack 1", 1),
     "Service Pack 1 (Build 3790)\n", "SP1"},
    {"Win2000DomainController", nt(5, 0, 2195, kDomainController), "Microsoft Windows 2000  (Build 2195)\n",
     "Win2k_SP0"},
    {"ProductTypeZero", nt(5, 1, 2600, 0, kPersonal), " (Build 2600)\n", "SP0"},
    {"ProductTypeFour", nt(5, 1, 2600, 4), " (Build 2600)\n", "SP0"},
};

class WinVersionText : public testing::TestWithParam<Case> {};

TEST_P(WinVersionText, Has_both_spellings) {
    EXPECT_STREQ(describe_win_version(GetParam().version, false).c_str(), GetParam().long_form.c_str());
    EXPECT_STREQ(describe_win_version(GetParam().version, true).c_str(), GetParam().tag.c_str());
}

INSTANTIATE_TEST_SUITE_P(Versions, WinVersionText, testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

TEST(WinVersionText, Keeps_underscores_that_don_t_end_the_text) {
    EXPECT_STREQ(describe_win_version(nt(5, 1, 2600, kWorkstation, 0, "_a_"), false).c_str(),
                 "Microsoft Windows XP Professional _a_ (Build 2600)\n");
}

TEST(WinVersionText, Letter_behind_the_end_of_the_service_pack_text_is_none) {
    WinVersion version = windows_9x(0, " B");
    version.service_pack[0] = '\0';
    EXPECT_STREQ(describe_win_version(version, true).c_str(), "Win95");
}

TEST(WinVersionText, Only_the_personal_bit_makes_a_home_edition) {
    EXPECT_STREQ(describe_win_version(nt(5, 1, 2600, kWorkstation, static_cast<uint16_t>(~kPersonal)), true).c_str(),
                 "WinXP_Prof_SP0");
}

TEST(WinVersionText, Takes_the_longest_service_pack_text_whole) {
    WinVersion version = nt(5, 1, 2600, kWorkstation);
    memset(version.service_pack, '%', 128);
    const std::string expected = "Microsoft Windows XP Professional " + std::string(128, '%') + " (Build 2600)\n";
    EXPECT_STREQ(describe_win_version(version, false).c_str(), expected.c_str());
}

} // namespace
