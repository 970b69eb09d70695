"""The public header compiles without a warning wherever it says so, and tells other targets what it is for; hosts and
library see the same classes in it."""

import re
import subprocess

import pytest

from testing.compilers import clang, gcc
from testing.image import X64, X86
from testing.processes import REPO

CLANGS = {"32 bits": clang(X86), "64 bits": clang(X64)}
GCCS = {"32 bits": gcc(X86), "64 bits": gcc(X64)}
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Wundef", "-Wshadow", "-Werror", "-fsyntax-only", f"-I{REPO}/include"]

FUNCTIONS = """
#include "wendax.h"
void use(void) {
    WendaxTranslator before = InitCrushReport();
    WendaxUnsent unsent = {0, 0, 0};
    if (!before)
        before = APISeTranslator;
    SetAttachment("notes.txt");
    SetCreateScreenCopy(1);
    if (WendaxKeepUnsent(L"unsent") && WendaxSendUnsent(&unsent) && unsent.sent + unsent.remaining + unsent.damaged)
        WendaxKeepUnsent(0);
    WendaxShowProgress(WendaxShowContents(1));
    OpenCrushReport(WENDAX_MARKER);
    before(0, 0);
}
void on_fault(struct _EXCEPTION_POINTERS* fault, void* context) {
    WendaxFilter filter = WendaxCoverProcess(on_fault, context);
    if (filter && filter(fault) == WendaxReportFault(fault))
        WendaxCover();
}
"""
CLASSES = (
    FUNCTIONS
    + """
#if defined(_WIN64)
char sizes[sizeof(CCrashReport) == 64 && sizeof(CCrashReport2) == 256 ? 1 : -1];
#else
char sizes[sizeof(CCrashReport) == 32 && sizeof(CCrashReport2) == 176 ? 1 : -1];
#endif
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
STRICTNESS = {
    "not strict": "#define NO_STRICT\n",
    "strict": "#define STRICT\n",
    "both": "#define STRICT\n#define NO_STRICT\n",
}
C_STANDARDS = ("c89", "c99", "c11", "c17", "gnu17")
CXX_STANDARDS = ("c++98", "c++11", "c++14", "c++17", "c++20", "gnu++20")


def run(source, *command):
    return subprocess.run(command, input=source, text=True, capture_output=True, timeout=120, check=False)


def compiled(compiler, language, standard, source):
    return run(source, *compiler, *STRICT, f"-x{language}", f"-std={standard}", "-")


def assert_clean(compiler, language, standard, source):
    done = compiled(compiler, language, standard, source)
    assert (done.returncode, done.stderr) == (0, "")


of_both_widths = pytest.mark.parametrize("compiler", CLANGS.values(), ids=CLANGS)
gcc_of_both_widths = pytest.mark.parametrize("compiler", GCCS.values(), ids=GCCS)
in_every_order = pytest.mark.parametrize("frame", ORDERS.values(), ids=ORDERS)


@of_both_widths
@in_every_order
@pytest.mark.parametrize("standard", C_STANDARDS)
def test_c_in_the_microsoft_mode(compiler, standard, frame):
    assert_clean(compiler, "c", standard, frame.format(FUNCTIONS))


@of_both_widths
@in_every_order
@pytest.mark.parametrize("standard", CXX_STANDARDS)
def test_cxx_in_the_microsoft_mode_has_classes_and_helper(compiler, standard, frame):
    assert_clean([*compiler, "-fcxx-exceptions"], "c++", standard, frame.format(CLASSES))


@of_both_widths
@pytest.mark.parametrize("order", ("after windows.h", "before windows.h"))
@pytest.mark.parametrize("definitions", STRICTNESS.values(), ids=STRICTNESS)
@pytest.mark.parametrize("standard", ("c++98", "c++17"))
def test_hosts_choose_how_strict_windows_h_is_about_handles(compiler, standard, definitions, order):
    assert_clean([*compiler, "-fcxx-exceptions"], "c++", standard, definitions + ORDERS[order].format(CLASSES))


@gcc_of_both_widths
@in_every_order
@pytest.mark.parametrize("standard", C_STANDARDS)
def test_c_with_gcc(compiler, standard, frame):
    assert_clean(compiler, "c", standard, frame.format(FUNCTIONS))


@gcc_of_both_widths
@in_every_order
@pytest.mark.parametrize("standard", CXX_STANDARDS)
def test_cxx_with_gcc_has_the_functions(compiler, standard, frame):
    assert_clean(compiler, "c++", standard, frame.format(FUNCTIONS))


@gcc_of_both_widths
def test_cxx_with_gcc_has_no_classes(compiler):
    done = compiled(compiler, "c++", "c++17", CLASSES)
    assert "CSeException" in done.stderr
    assert done.returncode != 0


@gcc_of_both_widths
def test_cxx_host_of_gcc_is_told_what_works(compiler):
    source = '#include "wendax.h"\nint main() { WendaxCoverThread(); }\n'
    done = run(source, *compiler, f"-I{REPO}/include", "-xc++", "-S", "-o/dev/null", "-")
    assert "examples/c-host shows what works with GCC" in done.stderr


def test_other_targets_are_told():
    done = compiled(["gcc"], "c", "c99", '#include "wendax.h"\n')
    assert "Wendax is for Windows programs" in done.stderr


# In bytes: where each member is, with 32 bits and with 64.
LAYOUT = {
    "CCrashReport": {"m_saved_resources": (4, 8), "m_attachments": (8, 16), "m_exception": (28, 56), "all": (32, 64)},
    "CCrashReport2": {
        "m_config_path": (4, 8),
        "m_script_path": (28, 40),
        "m_file_path": (52, 72),
        "m_log_path": (76, 104),
        "m_screen_path": (100, 136),
        "m_system_path": (124, 168),
        "m_saved_resources": (148, 200),
        "m_attachments": (152, 208),
        "m_exception": (172, 248),
        "all": (176, 256),
    },
}


@of_both_widths
@pytest.mark.parametrize("view", ([], ["-DWENDAX_LIBRARY"]), ids=("host", "library"))
def test_members_are_where_hosts_and_library_expect_them(compiler, view):
    source = '#include "include/wendax.h"\nchar sizes[sizeof(CCrashReport) + sizeof(CCrashReport2)];\n'
    options = "-fcxx-exceptions -DWINVER=0x0600 -xc++ -std=c++20 -fsyntax-only -Xclang -fdump-record-layouts -".split()
    done = run(source, *compiler, *view, f"-I{REPO}", f"-I{REPO}/mfc", *options)
    done.check_returncode()
    which = list(CLANGS.values()).index(compiler)
    for name, members in LAYOUT.items():
        dump = re.search(rf" 0 \| class {name}\n.*?sizeof=\d+", done.stdout, re.DOTALL)[0]
        members_found = re.findall(r"^ +(\d+) \|   \S.* (m_\w+)$", dump, re.MULTILINE)
        found = {member: int(offset) for offset, member in members_found}
        found["all"] = int(dump.rpartition("=")[2])
        assert found == {member: offsets[which] for member, offsets in members.items()}
