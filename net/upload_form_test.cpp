#include "net/upload_form.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "testing/cxx/scratch_folder.h"

namespace {

using namespace upload_form;

// Written out a second time, in full: the receiving form knows exactly these bytes.
const std::string kHeader = "\n"
                            "--AaB03x\ncontent-disposition: form-data; name=\"NAME[ul_max_file_size]\"\n\n20480\n"
                            "--AaB03x\ncontent-disposition: form-data; name=\"NAME[ul_directory]\"\n\n\nuploadfiles\n"
                            "--AaB03x\ncontent-disposition: form-data; name=\"NAME[ul_file_types]\"\n\n*,*,\n"
                            "--AaB03x\ncontent-disposition: form-data; name=\"NAME[ul_file_increment]\"\n\n0\n"
                            "--AaB03x\ncontent-disposition: form-data; name=\"NAME[ul_email_file]\"\n\n0\n"
                            "--AaB03x\ncontent-disposition: form-data; name=\"NAME\"; filename=\"%s\"\nContent-type: "
                            "image/pjpeg\nContent-Transfer-Encoding: binary\n\n";

const std::string kExpectedTrailer = "--AaB03x\ncontent-disposition: form-data; name=\"tableid\"\n\n\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"mosform\"\n\n3\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"rowid\"\n\n\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"Itemid\"\n\n113\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"act\"\n\nprocessform\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"option\"\n\ncom_mosforms\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"form_id\"\n\n3\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"Submit\"\n\nSumbit\n"
                                     "--AaB03x\ncontent-disposition: form-data; name=\"mosform\"\n\n3\n"
                                     "--AaB03x\n";

const char* const kNamesInOrder[] = {"Conversion_Script", "Conversion_Config", "File_for_conversion",
                                     "Conversion_log",    "Screen_copy",       "System_info"};
static_assert(std::size(kNamesInOrder) == part_count);

std::string expected_header(std::string name, const std::string& path) {
    std::string text = kHeader;
    for (size_t at; (at = text.find("NAME")) != std::string::npos;) {
        text.replace(at, 4, name);
    }
    return text.replace(text.find("%s"), 2, path);
}

std::string body_of(const char* const (&paths)[part_count]) {
    CSuperBuffer body;
    append_body(body, paths);
    return std::string(body.GetData(), body.GetLength());
}

TEST(UploadForm, Header_block_holds_five_settings_and_the_full_path) {
    EXPECT_EQ(std::string(part_header(screen_copy, "C:\\Temp\\screen_copy.jpg").c_str()),
              expected_header("Screen_copy", "C:\\Temp\\screen_copy.jpg"));
}

TEST(UploadForm, Path_is_not_escaped) {
    const char path[] = "C:\\50%s %n\\\"NAME\" \xE0\xFF.txt";
    EXPECT_EQ(std::string(part_header(conversion_log, path).c_str()), expected_header("Conversion_log", path));
}

TEST(UploadForm, Header_of_an_overlong_path_is_cut_at_the_formatters_limit) {
    // The format text's length grows in steps of 1024 until the limit reaches 32767.
    size_t limit = expected_header("Conversion_Script", "%s").size() + 1024;
    while (limit < 32767) {
        limit += 1024;
    }
    const std::string path(40000, 'x');
    const CStdString header = part_header(conversion_script, path.c_str());
    EXPECT_EQ(std::string(header.c_str(), header.length()),
              expected_header("Conversion_Script", path).substr(0, limit));
}

TEST(UploadForm, Part_ends_in_what_looks_like_the_end_of_the_body) {
    EXPECT_STREQ(kPartEnd, "\n\n--AaB03x--\n");
}

TEST(UploadForm, Trailer_names_the_form_and_leaves_the_last_boundary_open) {
    EXPECT_EQ(kTrailer, kExpectedTrailer);
}

TEST(UploadForm, Request_header_names_the_boundary_without_a_line_end) {
    EXPECT_STREQ(kRequestHeaders, "Content-Type: multipart/form-data; boundary=AaB03x");
}

TEST(UploadForm, No_text_of_the_form_holds_a_carriage_return) {
    CStdString all = part_header(system_info, "path") + kPartEnd + kTrailer + kRequestHeaders;
    EXPECT_EQ(all.find("\r"), -1);
}

TEST(UploadForm, Body_of_a_report_without_files_is_complete) {
    const char* const paths[part_count] = {"", "", "", "", "", ""};
    std::string expected;
    for (const char* name : kNamesInOrder) {
        expected += expected_header(name, "") + "\n\n--AaB03x--\n";
    }
    EXPECT_EQ(body_of(paths), expected + kExpectedTrailer);
}

TEST(UploadBody, Files_stand_between_their_headers_and_ends_byte_for_byte) {
    const std::string contents[part_count] = {std::string("script\0with zero\0", 17),
                                              "",
                                              std::string(64, 'f'),
                                              "ends in a lone CR\r",
                                              "\n\n--AaB03x--\n",
                                              "\xFF\xD8 bytes \xEE"};
    const ScratchFolder folder;
    std::string stored[part_count];
    const char* paths[part_count];
    std::string expected;
    for (int i = 0; i < part_count; ++i) {
        stored[i] = folder.add("file " + std::to_string(i), contents[i]);
        paths[i] = stored[i].c_str();
        expected += expected_header(kNamesInOrder[i], stored[i]) + contents[i] + "\n\n--AaB03x--\n";
    }
    EXPECT_EQ(body_of(paths), expected + kExpectedTrailer);
}

TEST(UploadBody, Missing_file_is_an_empty_part_under_its_path) {
    const std::string path = ScratchFolder().path("gone");
    const char* const paths[part_count] = {path.c_str(), "", "", "", "", ""};
    const std::string body = body_of(paths);
    EXPECT_EQ(body.find(expected_header("Conversion_Script", path) + "\n\n--AaB03x--\n"), 0u);
}

struct AnswerCase {
    const char* name;
    const char* answer;
    bool confirmed;
};

class Answer : public testing::TestWithParam<AnswerCase> {};

TEST_P(Answer, Is_judged_by_the_place_of_the_confirmation) {
    EXPECT_EQ(confirms(GetParam().answer), GetParam().confirmed);
}

const AnswerCase kAnswers[] = {
    {"none", nullptr, false},
    {"empty", "", false},
    {"the_text_alone", "Data has uploaded successfully", false},
    {"the_text_first", "Data has uploaded successfully. Thank you.", false},
    {"the_text_first_and_again", "Data has uploaded successfully, Data has uploaded successfully", false},
    {"after_one_character", " Data has uploaded successfully", true},
    {"inside_a_page", "<html><body>Data has uploaded successfully</body></html>", true},
    {"after_a_false_start", "Data has Data has uploaded successfully", true},
    {"after_many_capitals", "DDDDDData has uploaded successfully", true},
    {"other_case", " data has uploaded successfully", false},
    {"cut_by_one", " Data has uploaded successfull", false},
    {"another_text", "Error: no data has been uploaded", false},
};

INSTANTIATE_TEST_SUITE_P(UploadForm, Answer, testing::ValuesIn(kAnswers),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
