#include "compose/email_tool.h"

#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/scratch_folder.h"

namespace {

const CTime sunday(2006, 1, 15, 9, 5, 7);

std::string text_of(const CEmailTool& tool) {
    return std::string(tool.GetText().c_str(), tool.GetText().length());
}

std::string part(const std::string& name, const std::string& body) {
    return "Content-Type: file;\r\n\tname=\"" + name +
           "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment;\r\n\tfilename=\"" + name +
           "\"\r\n\r\n" + body + "\r\n------=_NextPart_000_023D_01C25DB8.8402B210\r\n";
}

// The current directory of this process, as long as it lives.
class CurrentDirectory {
public:
    explicit CurrentDirectory(const std::string& path) {
        char old[MAX_PATH];
        m_old.assign(old, GetCurrentDirectoryA(sizeof(old), old));
        EXPECT_TRUE(SetCurrentDirectoryA(path.c_str()));
    }
    ~CurrentDirectory() { SetCurrentDirectoryA(m_old.c_str()); }

private:
    std::string m_old;
};

class EmailTool : public testing::Test {
protected:
    EmailTool() {
        mail.ComposeAt(sunday, "Subj", "Body", "who@example.com", nullptr);
        without_attachment = text_of(mail);
    }

    ScratchFolder folder;
    CEmailTool mail;
    std::string without_attachment;
};

TEST_F(EmailTool, Date_has_weekday_day_and_year_and_a_reversed_clock) {
    EXPECT_NE(text_of(mail).find("\r\nDate: Sunday, 15, 06 07:05:09 +0000\r\n"), std::string::npos);
}

TEST_F(EmailTool, Compose_takes_the_local_time) {
    const auto date_line = [] {
        const std::time_t now = std::time(nullptr);
        char line[100];
        std::strftime(line, sizeof(line), "\r\nDate: %A, %d, %y %S:%M:%H +0000\r\n", std::localtime(&now));
        return std::string(line);
    };
    // Again, should the clock have gone on between the two.
    for (int attempt = 0; attempt < 50; ++attempt) {
        const std::string before = date_line();
        mail.Compose("", "", "", nullptr);
        if (before != date_line())
            continue;
        EXPECT_NE(text_of(mail).find(before), std::string::npos);
        return;
    }
    FAIL() << "the clock never stood still";
}

TEST_F(EmailTool, Compose_replaces_the_message_before) {
    const std::string before = text_of(mail);
    mail.ComposeAt(sunday, "Subj", "Body", "who@example.com", nullptr);
    EXPECT_EQ(text_of(mail), before);
}

TEST_F(EmailTool, Compose_with_a_path_attaches_the_file) {
    const std::string path = folder.add("notes.txt", "abc");
    mail.ComposeAt(sunday, "Subj", "Body", "who@example.com", path.c_str());
    EXPECT_EQ(text_of(mail), without_attachment + part("notes.txt", "YWJj="));
}

TEST_F(EmailTool, Compose_with_an_empty_path_attaches_nothing_without_a_name) {
    mail.ComposeAt(sunday, "Subj", "Body", "who@example.com", "");
    EXPECT_EQ(text_of(mail), without_attachment + part("", "="));
}

TEST_F(EmailTool, Attachments_follow_one_another) {
    mail.AddAttachment(folder.add("a.txt", "a").c_str());
    mail.AddAttachment(folder.add("b.with.dots", "ab").c_str());
    EXPECT_EQ(text_of(mail), without_attachment + part("a.txt", "YQ==") + part("b.with.dots", "YWI="));
}

TEST_F(EmailTool, File_that_can_not_be_mapped_is_attached_as_no_bytes) {
    mail.AddAttachment(folder.path("missing.bin").c_str());
    mail.AddAttachment(folder.add("empty.bin", "").c_str());
    mail.AddAttachment(nullptr);
    EXPECT_EQ(text_of(mail), without_attachment + part("missing.bin", "=") + part("empty.bin", "=") + part("", "="));
}

TEST_F(EmailTool, File_without_a_backslash_in_its_path_is_attached_without_a_name) {
    folder.add("bare.txt", "abc");
    const CurrentDirectory current(folder.path(""));
    mail.AddAttachment("bare.txt");
    EXPECT_EQ(text_of(mail), without_attachment + part("", "YWJj="));
}

TEST_F(EmailTool, Path_with_blanks_and_bytes_above_127_is_attached) {
    const std::string path = folder.add("a file of \xE9\xF6.txt", "abc");
    mail.AddAttachment(path.c_str());
    EXPECT_EQ(text_of(mail), without_attachment + part("a file of \xE9\xF6.txt", "YWJj="));
}

TEST_F(EmailTool, EncodeFile_gives_the_body_of_the_attachment) {
    for (unsigned size : {0u, 1u, 53u, 54u, 55u, 4096u, 100000u}) {
        const std::string path = folder.add("data.bin", std::string(size, 'x'));
        CEmailTool tool;
        tool.AddAttachment(path.c_str());
        const CString body = tool.EncodeFile(path.c_str());
        EXPECT_EQ(text_of(tool), part("data.bin", std::string(body, body.GetLength()))) << size << " bytes";
    }
}

TEST_F(EmailTool, WriteToFile_writes_the_text_as_it_is) {
    folder.add("mail.eml", std::string(10000, 'x'));
    mail.ComposeAt(sunday, "Subj", "a\nb\r\nc", "", nullptr);
    mail.WriteToFile(folder.path("mail.eml").c_str());
    EXPECT_EQ(folder.read("mail.eml"), text_of(mail));
}

TEST_F(EmailTool, WriteToFile_to_a_place_that_can_not_be_written_does_nothing) {
    mail.WriteToFile(folder.path("missing\\mail.eml").c_str());
    mail.WriteToFile(folder.path("").c_str());
    mail.WriteToFile("");
    EXPECT_EQ(folder.files("missing").size(), 0u);
}

// A device that is always full stands for the disk; only Wine can reach it.
TEST_F(EmailTool, WriteToFile_to_a_full_disk_reports_nothing) {
    const char full[] = "Z:\\dev\\full";
    CFile device;
    if (!device.Open(full, CFile::modeCreate | CFile::modeWrite))
        GTEST_SKIP() << "there is no " << full;
    try {
        device.Write("x", 1);
        ADD_FAILURE() << "it is not full";
    } catch (CFileException* error) {
        error->Delete();
    }
    EXPECT_NO_THROW(mail.WriteToFile(full));
}

// Registers a command as the program that opens .eml files, as long as it lives.
class MailProgram {
public:
    explicit MailProgram(const std::string& command) {
        char type[100];
        LONG size = sizeof(type);
        if (RegQueryValueA(HKEY_CLASSES_ROOT, ".eml", type, &size) == ERROR_SUCCESS)
            m_old_type = type;
        set(".eml", "WendaxTestMail");
        set("WendaxTestMail\\shell\\open\\command", command);
    }
    ~MailProgram() {
        if (m_old_type.empty())
            RegDeleteKeyA(HKEY_CLASSES_ROOT, ".eml");
        else
            set(".eml", m_old_type);
        for (const char* key : {"\\shell\\open\\command", "\\shell\\open", "\\shell", ""})
            RegDeleteKeyA(HKEY_CLASSES_ROOT, (std::string("WendaxTestMail") + key).c_str());
    }

private:
    static void set(const char* key, const std::string& value) {
        EXPECT_EQ(RegSetValueA(HKEY_CLASSES_ROOT, key, REG_SZ, value.c_str(), static_cast<DWORD>(value.size())), 0);
    }

    std::string m_old_type;
};

bool wait_for_file(const ScratchFolder& folder, const char* name) {
    for (int i = 0; i < 600; ++i) {
        if (!folder.files(name).empty())
            return true;
        Sleep(100);
    }
    return false;
}

TEST_F(EmailTool, OpenInMailer_writes_a_new_file_and_opens_it) {
    ScratchFolder temp;
    const TemporaryDirectory tmp(temp.path(""));
    const MailProgram program("cmd.exe /c mkdir \"%1.opened\"");
    mail.OpenInMailer();
    const std::vector<std::string> files = temp.files("ema", ".eml");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(temp.read(files[0]), text_of(mail));
    EXPECT_TRUE(wait_for_file(temp, (files[0] + ".opened").c_str()));
    EXPECT_EQ(temp.files("", ".tmp").size(), 0u) << "the file that gave the name is gone";
}

TEST_F(EmailTool, OpenInMailer_without_a_mail_program_leaves_the_file) {
    ScratchFolder temp;
    const TemporaryDirectory tmp(temp.path(""));
    mail.OpenInMailer();
    ASSERT_EQ(temp.files("ema", ".eml").size(), 1u);
    EXPECT_EQ(temp.read(temp.files("ema", ".eml")[0]), text_of(mail));
}

TEST_F(EmailTool, OpenInMailer_without_a_usable_temporary_directory_does_nothing) {
    ScratchFolder temp;
    const CurrentDirectory current(temp.path(""));
    const MailProgram program("cmd.exe /c mkdir \"" + temp.path("opened") + "\"");
    {
        const TemporaryDirectory missing(temp.path("missing"));
        mail.OpenInMailer();
    }
    // A folder that is there, but leaves no space for the name of a file within the 260 characters of a path.
    const std::string deep = temp.path(std::string(250 - temp.path("").size(), 'd'));
    ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + std::wstring(deep.begin(), deep.end())).c_str(), nullptr));
    {
        const TemporaryDirectory no_space(deep);
        mail.OpenInMailer();
    }
    EXPECT_EQ(temp.files("", ".eml").size(), 0u);
    EXPECT_EQ(temp.files("opened").size(), 0u);
}

} // namespace
