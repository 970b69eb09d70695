#include <gtest/gtest.h>

#include <afxdllx.h>
#include <afxwin.h>

namespace {

TEST(Module, Current_resources_are_the_processs_until_others_are_set) {
    const HINSTANCE process = GetModuleHandleA(nullptr);
    EXPECT_EQ(AfxGetResourceHandle(), process);
    const HINSTANCE other = GetModuleHandleA("kernel32.dll");
    AfxSetResourceHandle(other);
    EXPECT_EQ(AfxGetResourceHandle(), other);
    AfxSetResourceHandle(process);
}

TEST(Module, Extension_module_joins_the_chain_and_leaves_it) {
    AFX_EXTENSION_MODULE state = {};
    ASSERT_TRUE(AfxInitExtensionModule(state, GetModuleHandleA("kernel32.dll")));
    EXPECT_EQ(CDynLinkLibrary::first(), nullptr);
    {
        CDynLinkLibrary library(state);
        EXPECT_EQ(CDynLinkLibrary::first(), &library);
        EXPECT_EQ(library.m_hResource, GetModuleHandleA("kernel32.dll"));
    }
    EXPECT_EQ(CDynLinkLibrary::first(), nullptr);
    EXPECT_NE(new CDynLinkLibrary(state), nullptr);
    EXPECT_NE(CDynLinkLibrary::first(), nullptr);
    AfxTermExtensionModule(state);
    EXPECT_EQ(CDynLinkLibrary::first(), nullptr);
}

TEST(Module, Library_that_leaves_the_chain_leaves_the_others_in_it) {
    AFX_EXTENSION_MODULE state = {};
    ASSERT_TRUE(AfxInitExtensionModule(state, GetModuleHandleA("kernel32.dll")));
    CDynLinkLibrary first(state);
    {
        CDynLinkLibrary second(state), third(state);
        EXPECT_EQ(CDynLinkLibrary::first(), &third);
    }
    EXPECT_EQ(CDynLinkLibrary::first(), &first);
    EXPECT_EQ(first.m_pNextDLL, nullptr);
}

TEST(WaitCursor, Shows_the_hourglass_and_puts_the_old_cursor_back) {
    const HCURSOR arrow = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
    const HCURSOR wait = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_WAIT));
    const HCURSOR before = SetCursor(arrow);
    {
        CWaitCursor hourglass;
        EXPECT_EQ(GetCursor(), wait);
    }
    EXPECT_EQ(GetCursor(), arrow);
    SetCursor(before);
}

} // namespace
