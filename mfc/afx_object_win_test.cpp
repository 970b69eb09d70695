#include <gtest/gtest.h>

#include <afx.h>

namespace {

class Fault : public CException {
    DECLARE_DYNAMIC(Fault)
};
IMPLEMENT_DYNAMIC(Fault, CException)

TEST(RuntimeClass, Names_the_class_of_an_object_seen_through_its_base) {
    Fault fault;
    const CObject& object = fault;
    EXPECT_STREQ(object.GetRuntimeClass()->m_lpszClassName, "Fault");
    EXPECT_EQ(object.GetRuntimeClass()->m_nObjectSize, static_cast<int>(sizeof(Fault)));
}

TEST(RuntimeClass, Tells_bases_from_strangers) {
    Fault fault;
    EXPECT_TRUE(fault.IsKindOf(RUNTIME_CLASS(CException)));
    EXPECT_TRUE(fault.IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(fault.IsKindOf(RUNTIME_CLASS(CFileException)));
}

TEST(Exception, Has_no_text_of_its_own_and_empties_the_buffer) {
    CException exception;
    char text[8] = "before";
    UINT help = 7;
    EXPECT_FALSE(exception.GetErrorMessage(text, sizeof(text), &help));
    EXPECT_STREQ(text, "");
    EXPECT_EQ(help, 0u);
    EXPECT_TRUE(exception.m_bAutoDelete);
}

TEST(FileException, Gives_the_systems_text_for_its_error) {
    CFileException exception(ERROR_FILE_NOT_FOUND);
    char text[256];
    EXPECT_TRUE(exception.GetErrorMessage(text, sizeof(text)));
    EXPECT_NE(text[0], '\0');
}

} // namespace
