// A report is written under a name of its own, and gets its true one when it lies on the disk. A process that is killed
// before leaves a file that is whole, and counts as one, or one that nobody holds, and is deleted. Nothing here throws,
// and so it is compiled.
#include "net/unsent_folder.h"

#include <stdlib.h>
#include <string.h>

#include "net/unsent_format.h"
#include "win/clock.h"
#include "win/files.h"
#include "win/handle.h"

namespace unsent {

namespace {

// The name of a report: time, process, and a number of its own, for the clock goes by steps.
constexpr wchar_t kName[] = L"%s\\wendax-%016I64x-%08lx-%04x.%s";
constexpr wchar_t kStart[] = {L'w', L'e', L'n', L'd', L'a', L'x', L'-'};
constexpr unsigned kLengthToDot = sizeof kStart / sizeof *kStart + 16 + 1 + 8 + 1 + 4;
constexpr wchar_t kUnfinished[] = L".tmp";
constexpr wchar_t kLock[] = L"sending.lock";

// The path of a file in a folder.
struct Path {
    wchar_t text[1024]; // as many as wsprintfW may write

    Path(const wchar_t* folder, const wchar_t* name) { wsprintfW(text, L"%s\\%s", folder, name); }
    // Of the report that this process keeps at that time.
    Path(const wchar_t* folder, uint64_t time, unsigned number, const wchar_t* ending) {
        wsprintfW(text, kName, folder, time, GetCurrentProcessId(), number, ending);
    }
};
static_assert(kMostFolder + MAX_PATH < 1024);

// Fails as long as a process has the report open for writing: it is that one's to send.
win::FileHandle open_for_reading(const wchar_t* path) {
    return win::FileHandle(
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

struct Report {
    uint64_t time;
    DWORD size; // of the file
    wchar_t name[MAX_PATH];
};

// What lies in a folder.
class Listing {
public:
    explicit Listing(const wchar_t* folder) : m_folder(folder) {}
    ~Listing() { free(m_reports); }
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;

    // Looks at each file, and drops what is too old or too much beside what the limits have seen already.
    void Read(Limits limits);

    unsigned Count() const { return m_count; }
    // The newest is the first.
    const Report& operator[](unsigned index) const { return m_reports[index]; }

    int held = 0;    // by other processes, or unknown for want of memory
    int damaged = 0; // or of another maker

private:
    void Look(const WIN32_FIND_DATAW& found);
    void Add(uint64_t time, DWORD size, const wchar_t* name);

    const wchar_t* m_folder;
    Report* m_reports = nullptr; // from realloc
    unsigned m_count = 0;
};

void Listing::Read(Limits limits) {
    WIN32_FIND_DATAW found;
    const win::SearchHandle search(FindFirstFileW(Path(m_folder, L"*").text, &found));
    if (!search)
        return;
    do
        Look(found);
    while (FindNextFileW(search.get(), &found));

    // They are sorted, so those that don't stay are at the end.
    unsigned staying = 0;
    while (staying < m_count && limits.Stays(m_reports[staying].time, m_reports[staying].size))
        ++staying;
    while (m_count > staying)
        DeleteFileW(Path(m_folder, m_reports[--m_count].name).text);
}

void Listing::Look(const WIN32_FIND_DATAW& found) {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) || memcmp(found.cFileName, kLock, sizeof kLock) == 0)
        return;
    const Path path(m_folder, found.cFileName);
    win::FileHandle file = open_for_reading(path.text);
    if (!file) {
        ++held;
        return;
    }
    char data[kMostHeader];
    DWORD got = 0;
    const int64_t size = win::file_size(file.get());
    Header header;
    if (ReadFile(file.get(), data, sizeof data, &got, nullptr) && parse_header(data, got, header) &&
        int64_t{header.size} + header.body_size == size) {
        Add(header.time, static_cast<DWORD>(size), found.cFileName);
        return;
    }
    file.reset();
    // A report that was being written when its program was killed.
    if (memcmp(found.cFileName, kStart, sizeof kStart) == 0 &&
        memcmp(found.cFileName + kLengthToDot, kUnfinished, sizeof kUnfinished) == 0)
        DeleteFileW(path.text);
    else
        ++damaged;
}

void Listing::Add(uint64_t time, DWORD size, const wchar_t* name) {
    auto* const grown = static_cast<Report*>(realloc(m_reports, (m_count + 1) * sizeof *m_reports));
    if (!grown) {
        ++held;
        return;
    }
    m_reports = grown;
    unsigned at = m_count++;
    for (; at > 0 && m_reports[at - 1].time < time; --at)
        m_reports[at] = m_reports[at - 1];
    m_reports[at].time = time;
    m_reports[at].size = size;
    memcpy(m_reports[at].name, name, sizeof m_reports[at].name);
}

// Sends one, and deletes it if it is confirmed.
Outcome send(const wchar_t* path, DWORD length, Sender sender) {
    win::FileHandle file = open_for_reading(path);
    const win::Block block(malloc(length));
    const char* const data = static_cast<char*>(block.get());
    DWORD got = 0;
    if (!file || !data || !ReadFile(file.get(), block.get(), length, &got, nullptr))
        return kRemains;
    Header header;
    if (got != length || !parse_header(data, length, header) || header.body_size != length - header.size ||
        header.body_checksum != checksum(data + header.size, length - header.size))
        return kDamaged;
    const Outcome outcome = sender(header.url, header.proxy_allowed, data + header.size, length - header.size);
    if (outcome == kSent) {
        file.reset();
        DeleteFileW(path);
    }
    return outcome;
}

} // namespace

bool KeptReport::Keep(const wchar_t* folder, const Destination& to, const void* body, unsigned length) {
    CreateDirectoryW(folder, nullptr);
    Header header = {to.url.c_str(), to.proxy_allowed, 0, length, win::system_time(), checksum(body, length)};
    char data[kMostHeader];
    static uint16_t number; // of those of this process, which keeps one at a time
    ++number;
    const Path unfinished(folder, header.time, number, kUnfinished + 1);
    const Path finished(folder, header.time, number, L"unsent");
    const unsigned size = format_header(data, header);
    // Shared for its renaming and deletion alone: to other processes it is held, until this one lets it go or ends.
    win::FileHandle file(CreateFileW(unfinished.text, GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return false;
    if (!size || !win::write_all(file.get(), data, size) || !win::write_all(file.get(), body, length) ||
        !FlushFileBuffers(file.get()) || !MoveFileExW(unfinished.text, finished.text, MOVEFILE_WRITE_THROUGH)) {
        DeleteFileW(unfinished.text);
        return false;
    }
    Drop();
    memcpy(m_path, finished.text, sizeof m_path);
    m_file = file.release();
    return true;
}

void KeptReport::Drop() {
    if (m_file)
        DeleteFileW(m_path);
    LetGo();
}

void KeptReport::LetGo() noexcept {
    if (m_file)
        CloseHandle(m_file);
    m_file = nullptr;
}

void KeptReport::DropOlder(const wchar_t* folder) {
    Limits limits(win::system_time());
    if (m_file)
        limits.Stays(~uint64_t{0}, GetFileSize(m_file, nullptr));
    Listing(folder).Read(limits);
}

bool send_all(const wchar_t* folder, Sender sender, int (&counts)[kOutcomes]) {
    // Deleted with its handle, also where the process is killed: no lock outlasts whoever holds it.
    const win::FileHandle lock(CreateFileW(Path(folder, kLock).text, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                           FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    if (!lock)
        return GetLastError() == ERROR_PATH_NOT_FOUND;
    Listing reports(folder);
    reports.Read(Limits(win::system_time()));
    counts[kRemains] = reports.held;
    counts[kDamaged] = reports.damaged;
    for (unsigned i = reports.Count(); i > 0; --i) {
        const Report& report = reports[i - 1];
        ++counts[send(Path(folder, report.name).text, report.size, sender)];
    }
    return true;
}

} // namespace unsent
