#include <gtest/gtest.h>

#include <string>

#include "report/destinations.h"

namespace {

Destinations record_with(const char* product, const char* company, const char* program) {
    Destinations record = {};
    strncpy(record.product, product, sizeof record.product);
    strncpy(record.company, company, sizeof record.company);
    strncpy(record.program, program, sizeof record.program);
    return record;
}

TEST(RecordNames, Of_an_empty_record_are_those_built_in) {
    const report::Names names = record_names(Destinations());
    EXPECT_STREQ(names.product, "Corrowfinder");
    EXPECT_STREQ(names.company, "Torvex");
    EXPECT_STREQ(names.program, "ksv.exe");
    const HostApplication application = record_application(Destinations());
    EXPECT_STREQ(application.name, "Lumivale");
    EXPECT_STREQ(application.file, "Lumivale.exe");
}

TEST(RecordNames, Are_those_of_the_record) {
    const Destinations record = record_with("Fine Drawing", "\xD0\xEE\xE3\xE0", "draw.exe");
    const report::Names names = record_names(record);
    EXPECT_STREQ(names.product, "Fine Drawing");
    EXPECT_STREQ(names.company, "\xD0\xEE\xE3\xE0");
    EXPECT_STREQ(names.program, "draw.exe");
    const HostApplication application = record_application(record);
    EXPECT_STREQ(application.name, "Fine Drawing");
    EXPECT_STREQ(application.file, "draw.exe");
}

TEST(RecordNames, That_are_damaged_are_those_built_in) {
    for (const char* damaged : {"%s", "100%", "two\nlines", "\x01", "tab\t"})
        EXPECT_STREQ(record_names(record_with(damaged, "", "")).product, "Corrowfinder") << damaged;
    const std::string endless(100, 'x');
    const report::Names names = record_names(record_with(endless.c_str(), endless.c_str(), endless.c_str()));
    EXPECT_STREQ(names.product, "Corrowfinder");
    EXPECT_STREQ(names.company, "Torvex");
    EXPECT_STREQ(names.program, "ksv.exe");
}

TEST(RecordAddress, Without_an_end_is_none) {
    Destinations record = {};
    EXPECT_STREQ(record_address(record.upload_address), "");
    memset(record.upload_address, 'x', sizeof record.upload_address);
    EXPECT_STREQ(record_address(record.upload_address), "");
    record.upload_address[127] = 0;
    EXPECT_EQ(strlen(record_address(record.upload_address)), 127u);
}

} // namespace
