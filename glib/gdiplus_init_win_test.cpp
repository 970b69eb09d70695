#include "glib/gdiplus_init.h"

#include <string>

#include <gtest/gtest.h>

#include "glib/film.h"
#include "glib/gdiplus_api.h"

namespace glib {
namespace {

// GDI+'s start and stop, replaced by functions that take notes: S for a start, s for a failed one, E for an end.
std::string g_notes;
bool g_fails;
ULONG_PTR g_last_token;

Gdiplus::GpStatus WINAPI start(ULONG_PTR* token, const Gdiplus::GdiplusStartupInput* input,
                               Gdiplus::GdiplusStartupOutput* output) {
    EXPECT_EQ(input->GdiplusVersion, 1u);
    EXPECT_EQ(input->DebugEventCallback, nullptr);
    EXPECT_FALSE(input->SuppressBackgroundThread);
    EXPECT_FALSE(input->SuppressExternalCodecs);
    EXPECT_EQ(output, nullptr);
    g_notes += g_fails ? 's' : 'S';
    *token = ++g_last_token;
    return g_fails ? Gdiplus::OutOfMemory : Gdiplus::Ok;
}

VOID WINAPI end(ULONG_PTR token) {
    EXPECT_EQ(token, g_last_token);
    g_notes += 'E';
}

class GdiplusGuard : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bind_gdiplus());
        gdiplus_switch(false);
        m_real = gdiplus_api();
        gdiplus_api().Startup = start;
        gdiplus_api().Shutdown = end;
        g_notes.clear();
        g_fails = false;
    }
    void TearDown() override {
        EXPECT_EQ(live_documents(), 0);
        gdiplus_switch(false);
        gdiplus_api() = m_real;
    }

private:
    GdiplusApi m_real;
};

TEST_F(GdiplusGuard, The_switch_keeps_no_count) {
    gdiplus_switch(true);
    gdiplus_switch(true);
    EXPECT_EQ(g_notes, "S");
    EXPECT_NE(gdiplus_period(), 0u);
    gdiplus_switch(false);
    EXPECT_EQ(g_notes, "SE");
    EXPECT_EQ(gdiplus_period(), 0u);
    gdiplus_switch(false);
    EXPECT_EQ(g_notes, "SE");
}

TEST_F(GdiplusGuard, Every_start_has_a_token_and_a_period_of_its_own) {
    gdiplus_switch(true);
    const uint32_t first = gdiplus_period();
    gdiplus_switch(false);
    gdiplus_switch(true);
    EXPECT_EQ(gdiplus_period(), first + 1);
    gdiplus_switch(false);
    EXPECT_EQ(g_notes, "SESE");
}

TEST_F(GdiplusGuard, A_failed_start_is_tried_again) {
    g_fails = true;
    gdiplus_switch(true);
    EXPECT_EQ(gdiplus_period(), 0u);
    gdiplus_switch(false);
    EXPECT_EQ(g_notes, "s") << "what never ran is not stopped";
    gdiplus_switch(true);
    EXPECT_EQ(g_notes, "ss");
    g_fails = false;
    gdiplus_switch(true);
    EXPECT_EQ(g_notes, "ssS");
}

TEST_F(GdiplusGuard, The_first_document_starts_and_the_last_one_stops) {
    {
        Film* first = new Film;
        EXPECT_EQ(g_notes, "S");
        EXPECT_EQ(live_documents(), 1);
        Film second;
        EXPECT_EQ(g_notes, "S");
        delete first;
        EXPECT_EQ(g_notes, "S");
        EXPECT_EQ(live_documents(), 1);
    }
    EXPECT_EQ(g_notes, "SE");
}

TEST_F(GdiplusGuard, A_document_that_goes_after_the_switch_stops_nothing_more) {
    {
        Film film;
        gdiplus_switch(false);
        EXPECT_EQ(g_notes, "SE");
    }
    EXPECT_EQ(g_notes, "SE");
    EXPECT_EQ(live_documents(), 0);
}

TEST_F(GdiplusGuard, The_switch_does_not_look_at_documents_and_documents_not_at_the_switch) {
    Film film;
    gdiplus_switch(false);
    Film another;
    EXPECT_EQ(g_notes, "SES") << "a new document starts it again";
    gdiplus_switch(false);
    gdiplus_switch(true);
    EXPECT_EQ(g_notes, "SESES");
}

TEST_F(GdiplusGuard, An_instance_of_its_own_stops_what_it_started) {
    {
        GdiPlusInit guard;
        guard.Start();
        guard.Start();
        EXPECT_TRUE(guard.started());
        EXPECT_EQ(g_notes, "S");
        EXPECT_EQ(gdiplus_period(), 0u) << "that of the process is another";
    }
    EXPECT_EQ(g_notes, "SE");
    {
        GdiPlusInit never;
    }
    EXPECT_EQ(g_notes, "SE");
}

DWORD WINAPI make_documents(void*) {
    for (int i = 0; i < 200; ++i)
        Film film;
    return 0;
}

TEST_F(GdiplusGuard, Documents_of_several_threads_are_counted_right) {
    HANDLE threads[4];
    for (HANDLE& thread : threads)
        thread = CreateThread(nullptr, 0, make_documents, nullptr, 0, nullptr);
    ASSERT_EQ(WaitForMultipleObjects(4, threads, TRUE, 120000), WAIT_OBJECT_0);
    for (HANDLE thread : threads)
        CloseHandle(thread);
    EXPECT_EQ(live_documents(), 0);
    EXPECT_EQ(g_notes.front(), 'S');
    EXPECT_EQ(g_notes.back(), 'E');
    for (size_t i = 1; i < g_notes.size(); ++i)
        ASSERT_NE(g_notes[i], g_notes[i - 1]) << "starts and ends take turns";
}

} // namespace
} // namespace glib
