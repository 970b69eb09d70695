// Calls the virtual functions of CBase64Coding and CMemoryFile by their numbers and reads the fields at their offsets,
// the way a caller does that was compiled without our headers. Prints one "name: value" a line.
#include <afx.h>
#include <afxcoll.h>
#include <stdio.h>
#include <string.h>

#include "compose/base64_coding.h"
#include "compose/email_tool.h"
#include "compose/memory_file.h"
#include "testing/cxx/foreign_view.h"

namespace {

void print(const char* name, const char* value) {
    printf("%s: %s\n", name, value);
}

void print(const char* name, int value) {
    printf("%s: %d\n", name, value);
}

void print(const char* name, const CByteArray& bytes) {
    printf("%s: %.*s\n", name, static_cast<int>(bytes.GetSize()), reinterpret_cast<const char*>(bytes.GetData()));
}

void fill(CByteArray& bytes, const char* text) {
    bytes.SetSize(static_cast<int>(strlen(text)));
    memcpy(bytes.GetData(), text, strlen(text));
}

constexpr bool kWide = sizeof(void*) == 8;

// Offsets of fields: with 32 bits as they are fixed, with 64 where natural alignment puts them.
constexpr unsigned place(unsigned narrow, unsigned wide) {
    return kWide ? wide : narrow;
}

constexpr unsigned kCoderTable = place(4, 8);
constexpr unsigned kAttributes = 8;
constexpr unsigned kDescriptor = place(12, 16);
constexpr unsigned kMapping = place(16, 24);
constexpr unsigned kView = place(20, 32);
constexpr unsigned kData = place(24, 40);
constexpr unsigned kName = place(28, 48);
constexpr unsigned kGranularity = place(32, 56);
constexpr unsigned kDataLength = place(36, 60);
constexpr unsigned kViewLength = place(40, 64);
constexpr unsigned kFileSize = place(48, 72);
constexpr unsigned kMappedLength = place(56, 80);
constexpr unsigned kMessage = place(4 + 20, 8 + 24); // a string's characters

using Destroy = void* __thiscall(void*, unsigned flags); // flag 1 frees the memory too

void show_coder() {
    print("coder size", sizeof(CBase64Coding));
    void* const coder = operator new(sizeof(CBase64Coding));
    memset(coder, 0x55, sizeof(CBase64Coding));
    new (coder) CBase64Coding;
    print("coder unbuilt flag", field<unsigned char>(coder, kCoderTable));
    print("coder unbuilt rest", field<unsigned char>(coder, kCoderTable + 1));
    slot_of<void __thiscall(void*)>(coder, 1)(coder);
    print("coder built flag", field<unsigned char>(coder, kCoderTable));
    print("coder value of z", field<unsigned char>(coder, kCoderTable + 'z'));
    print("coder value of byte 255", field<unsigned char>(coder, kCoderTable + 255));

    CByteArray text, bytes;
    print("slot 3 result",
          slot_of<int __thiscall(void*, const CString&, CByteArray&)>(coder, 3)(coder, "YWJj=", bytes));
    print("slot 3 bytes", bytes);
    fill(text, "ZGVm");
    print("slot 4 result",
          slot_of<int __thiscall(void*, const CByteArray&, CByteArray&)>(coder, 4)(coder, text, bytes));
    print("slot 4 bytes", bytes);

    CString encoded;
    const unsigned char data[] = {'g', 'h', 'i'};
    print("slot 5 result",
          slot_of<int __thiscall(void*, const unsigned char*, int, CString&)>(coder, 5)(coder, data, 3, encoded));
    print("slot 5 text", encoded);
    fill(bytes, "jk");
    print("slot 6 result",
          slot_of<int __thiscall(void*, const CByteArray&, CString&)>(coder, 6)(coder, bytes, encoded));
    print("slot 6 text", encoded);
    fill(bytes, "l");
    print("slot 7 result",
          slot_of<int __thiscall(void*, const CByteArray&, CByteArray&)>(coder, 7)(coder, bytes, text));
    print("slot 7 text", text);

    print("coder destructor", slot_of<Destroy>(coder, 2)(coder, 0) == coder);
    operator delete(coder);
}

void show_security(void* file) {
    slot_of<void __thiscall(void*)>(file, 1)(file);
    const auto* const attributes = field<SECURITY_ATTRIBUTES*>(file, kAttributes);
    const auto descriptor = field<void*>(file, kDescriptor);
    print("security attributes length", attributes ? attributes->nLength : 0);
    print("security attributes name the descriptor", attributes && attributes->lpSecurityDescriptor == descriptor);
    print("security attributes are inherited", attributes && attributes->bInheritHandle);
    BOOL present = FALSE, defaulted = TRUE;
    PACL list = reinterpret_cast<PACL>(1);
    print("security list asked for", GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
    print("security list is present and null", present && !list && !defaulted);
}

void show_file(const char* path) {
    print("file size of the object", sizeof(CMemoryFile));
    void* const file = operator new(sizeof(CMemoryFile));
    memset(file, 0x55, sizeof(CMemoryFile));
    new (file) CMemoryFile;
    print("file no security", !field<void*>(file, kAttributes) && !field<void*>(file, kDescriptor));
    print("file no mapping", static_cast<int>(field<intptr_t>(file, kMapping)));
    print("file no view", !field<void*>(file, kView) && !field<void*>(file, kData));
    print("file granularity", field<unsigned>(file, kGranularity));
    show_security(file);

    using Open = int __thiscall(void*, const char*, unsigned, unsigned long long, unsigned, void*);
    print("slot 7 opens", slot_of<Open>(file, 7)(file, path, CFile::modeReadWrite, 70000, 0, nullptr));
    DWORD flags = 0;
    GetHandleInformation(field<HANDLE>(file, kMapping), &flags);
    print("open mapping is inherited", (flags & HANDLE_FLAG_INHERIT) != 0);
    print("open data minus view", static_cast<int>(field<char*>(file, kData) - field<char*>(file, kView)));
    print("open data", field<char*>(file, kData) ? *field<char*>(file, kData) : -1);
    print("open name", strcmp(field<char*>(file, kName), path) == 0);
    print("open data length", field<unsigned>(file, kDataLength));
    print("open view length", field<unsigned>(file, kViewLength));
    print("open file size", static_cast<int>(field<unsigned long long>(file, kFileSize)));
    print("open mapped length", field<unsigned>(file, kMappedLength));
    print("slot 5 flushes", slot_of<bool __thiscall(void*)>(file, 5)(file));
    CString name;
    slot_of<void __thiscall(void*, CString&)>(file, 6)(file, name);
    print("slot 6 name", name == path);

    slot_of<void __thiscall(void*)>(file, 4)(file);
    print("closed mapping", static_cast<int>(field<intptr_t>(file, kMapping)));
    print("closed pointers and lengths are 0",
          !field<void*>(file, kView) && !field<void*>(file, kData) && !*field<char*>(file, kName) &&
              !field<int>(file, kDataLength) && !field<int>(file, kViewLength) && !field<long long>(file, kFileSize) &&
              !field<int>(file, kMappedLength));
    slot_of<void __thiscall(void*)>(file, 2)(file);
    print("freed security", !field<void*>(file, kAttributes) && !field<void*>(file, kDescriptor));
    print("file destructor", slot_of<Destroy>(file, 3)(file, 0) == file);
    operator delete(file);
}

void show_composer() {
    print("composer size", sizeof(CEmailTool));
    CEmailTool* const composer = new CEmailTool;
    composer->ComposeAt(CTime(2006, 1, 15, 9, 5, 7), "s", "b", "t", nullptr);
    print("composer message", strncmp(field<char*>(composer, kMessage), "To: \"t\" \r\n", 10) == 0);
    slot_of<Destroy>(composer, 1)(composer, 1);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2)
        return 2;
    show_coder();
    show_file(arguments[1]);
    show_composer();
    return 0;
}
