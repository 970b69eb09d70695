"""The public header compiles without a warning wherever it says so, and tells other targets what it is for."""

import subprocess

import pytest

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
char mail_size[sizeof(CCrashReport) == 32 ? 1 : -1];
char upload_size[sizeof(CCrashReport2) == 176 ? 1 : -1];
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
STRICTNESS = {
    "not strict": "#define NO_STRICT\n",
    "strict": "#define STRICT\n",
    "both": "#define STRICT\n#define NO_STRICT\n",
}
C_STANDARDS = ("c89", "c99", "c11", "c17", "gnu17")
CXX_STANDARDS = ("c++98", "c++11", "c++14", "c++17", "c++20", "gnu++20")


def compiled(compiler, language, standard, source):
    return subprocess.run(
        [*compiler, *STRICT, f"-x{language}", f"-std={standard}", "-"],
        input=source,
        text=True,
        capture_output=True,
        check=False,
    )


def assert_clean(compiler, language, standard, source):
    done = compiled(compiler, language, standard, source)
    assert (done.returncode, done.stderr) == (0, "")


in_every_order = pytest.mark.parametrize("frame", ORDERS.values(), ids=ORDERS)


@in_every_order
@pytest.mark.parametrize("standard", C_STANDARDS)
def test_c_in_the_microsoft_mode(standard, frame):
    assert_clean(CLANG, "c", standard, frame.format(FUNCTIONS))


@in_every_order
@pytest.mark.parametrize("standard", CXX_STANDARDS)
def test_cxx_in_the_microsoft_mode_has_classes_and_helper(standard, frame):
    assert_clean([*CLANG, "-fcxx-exceptions"], "c++", standard, frame.format(CLASSES))


@pytest.mark.parametrize("order", ("after windows.h", "before windows.h"))
@pytest.mark.parametrize("definitions", STRICTNESS.values(), ids=STRICTNESS)
@pytest.mark.parametrize("standard", ("c++98", "c++17"))
def test_hosts_choose_how_strict_windows_h_is_about_handles(standard, definitions, order):
    assert_clean([*CLANG, "-fcxx-exceptions"], "c++", standard, definitions + ORDERS[order].format(CLASSES))


@in_every_order
@pytest.mark.parametrize("standard", C_STANDARDS)
def test_c_with_gcc(standard, frame):
    assert_clean(GCC, "c", standard, frame.format(FUNCTIONS))


@in_every_order
@pytest.mark.parametrize("standard", CXX_STANDARDS)
def test_cxx_with_gcc_has_the_functions(standard, frame):
    assert_clean(GCC, "c++", standard, frame.format(FUNCTIONS))


def test_cxx_with_gcc_has_no_classes():
    done = compiled(GCC, "c++", "c++17", CLASSES)
    assert "CSeException" in done.stderr
    assert done.returncode != 0


def test_cxx_host_of_gcc_is_told_what_works():
    done = subprocess.run(
        [*GCC, f"-I{REPO}/include", "-xc++", "-S", "-o/dev/null", "-"],
        text=True,
        input='#include "wendax.h"\nint main() { WendaxCoverThread(); }\n',
        capture_output=True,
        check=False,
    )
    assert "examples/c-host shows what works with GCC" in done.stderr


@pytest.mark.parametrize("compiler", (["gcc"], ["clang-19", "--target=x86_64-pc-windows-msvc"]), ids=("gcc", "clang"))
def test_other_targets_are_told(compiler):
    done = compiled(compiler, "c", "c99", '#include "wendax.h"\n')
    assert "Wendax is for 32-bit Windows programs" in done.stderr
