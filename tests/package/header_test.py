"""The public header compiles without a warning wherever it says so, and tells other targets what it is for."""

import subprocess

from testing import runner
from testing.processes import REPO

MINGW_HEADERS = "/usr/i686-w64-mingw32/include"
CLANG = [
    "clang-19",
    "--target=i686-pc-windows-msvc",
    "-nostdlibinc",
    f"-isystem{REPO}/crt/include",
    f"-isystem{MINGW_HEADERS}",
    "-fgnuc-version=12.2",
    "-D_X86_=1",
    "-D__declspec=__declspec",
    "-fexceptions",
    "-fasync-exceptions",
]
GCC = ["i686-w64-mingw32-gcc-posix"]
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Wundef", "-Wshadow", "-Werror", "-fsyntax-only", f"-I{REPO}/include"]

FUNCTIONS = """
#include "wendax.h"
void use(void) {
    WendaxTranslator before = InitCrushReport();
    if (!before)
        before = APISeTranslator;
    SetAttachment("notes.txt");
    SetCreateScreenCopy(1);
    OpenCrushReport(WENDAX_MARKER);
    before(0, 0);
}
"""
CLASSES = (
    FUNCTIONS
    + """
void drive(CSeException* exception) {
    WendaxCoverThread();
    CCrashReport mail(exception);
    mail.AddAttachment("notes.txt");
    mail.AttachScreenCopy();
    if (mail.OpenDlg() == 1)
        mail.GenerateEmail(0, 0, 0, 0);
    CCrashReport2 upload(exception);
    upload.PostRequest("a", "b", "c", "d");
    upload.CreateScreenCopy();
    upload.CreateSystemInfo();
    upload.AddAttachment("e");
    if (CCrashReport2::m_pThis != &upload || upload.OpenDlg() != 1)
        upload.Upload();
}
class OwnReport : public CCrashReport {
public:
    OwnReport() : CCrashReport(0) {}
};
void make_and_delete() {
    try {
        delete new CCrashReport(0);
        delete new CCrashReport2(0);
        delete new OwnReport;
        delete new (std::nothrow) CCrashReport(0);
        delete new (std::nothrow) CCrashReport2(0);
        delete new (std::nothrow) OwnReport;
        void* place[sizeof(CCrashReport2) / sizeof(void*)];
        (new (place) CCrashReport(0))->~CCrashReport();
        (new (place) CCrashReport2(0))->~CCrashReport2();
        (new (place) OwnReport)->~OwnReport();
        delete new (__FILE__, __LINE__) CCrashReport(0);
        delete new (1, __FILE__, __LINE__) OwnReport;
    } catch (const gen::genlib_out_of_range& error) {
        throw error.index + error.size;
    } catch (const gen::genlib_out_of_memory&) {
    } catch (const gen::genlib_error&) {
    }
}
"""
)
WINDOWS = "#include <windows.h>\n"
BEFORE = '#include "wendax.h"\n' + WINDOWS + "{}"
ORDERS = {"alone": "{}", "after windows.h": WINDOWS + "{}", "before windows.h": BEFORE}
C_STANDARDS = ("c89", "c99", "c11", "c17", "gnu17")
CXX_STANDARDS = ("c++98", "c++11", "c++14", "c++17", "c++20", "gnu++20")


class Header(runner.Case):
    def compile(self, compiler, language, standard, source):
        return subprocess.run(
            [*compiler, *STRICT, f"-x{language}", f"-std={standard}", "-"],
            input=source,
            text=True,
            capture_output=True,
            timeout=120,
            check=False,
        )

    def check(self, compiler, language, standards, use, orders=None):
        for standard in standards:
            for order, frame in (orders or ORDERS).items():
                with self.subTest(standard=standard, order=order):
                    done = self.compile(compiler, language, standard, frame.format(use))
                    self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_c_in_the_microsoft_mode(self):
        self.check(CLANG, "c", C_STANDARDS, FUNCTIONS)

    def test_cxx_in_the_microsoft_mode_has_classes_and_helper(self):
        self.check([*CLANG, "-fcxx-exceptions"], "c++", CXX_STANDARDS, CLASSES)

    def test_hosts_choose_how_strict_windows_h_is_about_handles(self):
        orders = {
            f"{definitions} {order}": definitions + ORDERS[order]
            for order in ("after windows.h", "before windows.h")
            for definitions in ("#define NO_STRICT\n", "#define STRICT\n", "#define STRICT\n#define NO_STRICT\n")
        }
        self.check([*CLANG, "-fcxx-exceptions"], "c++", ("c++98", "c++17"), CLASSES, orders)

    def test_c_with_gcc(self):
        self.check(GCC, "c", C_STANDARDS, FUNCTIONS)

    def test_cxx_with_gcc_has_the_functions(self):
        self.check(GCC, "c++", CXX_STANDARDS, FUNCTIONS)

    def test_cxx_with_gcc_has_no_classes(self):
        done = self.compile(GCC, "c++", "c++17", CLASSES)
        self.assertIn("CSeException", done.stderr)
        self.assertNotEqual(done.returncode, 0)

    def test_cxx_host_of_gcc_is_told_what_works(self):
        done = subprocess.run(
            [*GCC, f"-I{REPO}/include", "-xc++", "-S", "-o/dev/null", "-"],
            text=True,
            timeout=120,
            input='#include "wendax.h"\nint main() { WendaxCoverThread(); }\n',
            capture_output=True,
            check=False,
        )
        self.assertIn("examples/c-host shows what works with GCC", done.stderr)

    def test_other_targets_are_told(self):
        for compiler in (["gcc"], ["clang-19", "--target=x86_64-pc-windows-msvc"]):
            with self.subTest(compiler):
                done = self.compile(compiler, "c", "c99", '#include "wendax.h"\n')
                self.assertIn("Wendax is for 32-bit Windows programs", done.stderr)
