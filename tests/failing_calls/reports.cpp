#include "tests/failing_calls/reports.h"

#include <stdlib.h>
#include <string.h>

#include "base/genlib_error.h"
#include "testing/cxx/faults.h"
#include "tests/failing_calls/held.h"
#include "win/library.h"

using win::function_of;

namespace {

Return worse(Return left, Return right) {
    return static_cast<int>(left) > static_cast<int>(right) ? left : right;
}

template <class Step>
Return run(Step step) {
    try {
        step();
    } catch (const gen::genlib_error&) {
        return Return::out_of_memory;
    } catch (char*) {
        return Return::fault;
    } catch (...) {
        return Return::other_exception;
    }
    return Return::plain;
}

constexpr bool kWide = sizeof(void*) == 8;

// CCrashReport2 through its exported names.
class UploadReport {
public:
    explicit UploadReport(HMODULE module) : m_module(module) {
        call<void, void*>(kWide ? "??0CCrashReport2@@QEAA@PEAVCSeException@@@Z"
                                : "??0CCrashReport2@@QAE@PAVCSeException@@@Z",
                          nullptr);
    }
    ~UploadReport() { call<void>(kWide ? "??1CCrashReport2@@UEAA@XZ" : "??1CCrashReport2@@UAE@XZ"); }

    void post(const char* log) {
        call<void, const char*, const char*, const char*, const char*>(
            kWide ? "?PostRequest@CCrashReport2@@UEAAXPEBD000@Z" : "?PostRequest@CCrashReport2@@UAEXPBD000@Z", "", "",
            log, "");
    }
    void attach(const char* path) {
        call<void, const char*>(
            kWide ? "?AddAttachment@CCrashReport2@@QEAAXPEBD@Z" : "?AddAttachment@CCrashReport2@@QAEXPBD@Z", path);
    }
    void make_screen_copy() {
        call<void>(kWide ? "?CreateScreenCopy@CCrashReport2@@QEAAXXZ" : "?CreateScreenCopy@CCrashReport2@@QAEXXZ");
    }
    void make_system_info() {
        call<void>(kWide ? "?CreateSystemInfo@CCrashReport2@@QEAAXXZ" : "?CreateSystemInfo@CCrashReport2@@QAEXXZ");
    }
    unsigned open_dialog() {
        return call<unsigned>(kWide ? "?OpenDlg@CCrashReport2@@QEAAIXZ" : "?OpenDlg@CCrashReport2@@QAEIXZ");
    }

private:
    template <class Result, class... Arguments>
    Result call(const char* member, Arguments... arguments) {
        return function_of<Result __thiscall(void*, Arguments...)>(m_module, member)(m_object, arguments...);
    }

    HMODULE m_module;
    void* m_object[64] = {};
};

} // namespace

bool Library::load() {
    m_module = LoadLibraryA("Wendax.dll");
    if (!m_module)
        return false;
    function_of<void*()>(m_module, "InitCrushReport")();
    return true;
}

void Library::unload() {
    FreeLibrary(m_module);
    drop_held();
    m_module = nullptr;
}

Return Library::email(const char* attached) {
    function_of<char*(const char*)>(m_module, "SetAttachment")(attached);
    function_of<int(int)>(m_module, "SetCreateScreenCopy")(1);
    const auto open_report = function_of<void(const char*)>(m_module, "OpenCrushReport");
    return run([&] {
        try {
            commit_fault("write");
        } catch (char* marker) {
            open_report(marker);
        }
    });
}

Return Library::upload(const char* log, unsigned* answer) {
    Return result = Return::plain;
    const auto then = [&](auto step) { result = worse(result, run(step)); };
    try {
        commit_fault("write");
    } catch (char*) {
        then([&] {
            UploadReport report(m_module);
            then([&] { report.post(log); });
            then([&] { report.attach(log); });
            then([&] { report.make_screen_copy(); });
            then([&] { report.make_system_info(); });
            then([&] { *answer = report.open_dialog(); });
        });
    }
    return result;
}
