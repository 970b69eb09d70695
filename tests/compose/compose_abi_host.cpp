// Calls the virtual functions of CBase64Coding and CMemoryFile by their numbers and reads the fields at their offsets,
// the way a caller does that was compiled without our headers. Prints one "name: value" a line.
#include <afx.h>
#include <afxcoll.h>
#include <stdio.h>
#include <string.h>

#include "compose/base64_coding.h"
#include "compose/email_tool.h"
#include "compose/memory_file.h"

namespace {

// Virtual function number `slot`, counted from 1.
template <typename Function>
Function* slot_of(void* object, unsigned slot) {
    return reinterpret_cast<Function*>((*static_cast<void***>(object))[slot - 1]);
}

template <typename T>
T field(void* object, unsigned offset) {
    T value;
    memcpy(&value, static_cast<char*>(object) + offset, sizeof(value));
    return value;
}

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

using Destroy = void* __thiscall(void*, unsigned flags); // flag 1 frees the memory too

void show_coder() {
    print("coder size", sizeof(CBase64Coding));
    void* const coder = operator new(sizeof(CBase64Coding));
    memset(coder, 0x55, sizeof(CBase64Coding));
    new (coder) CBase64Coding;
    print("coder unbuilt flag", field<unsigned char>(coder, 4));
    print("coder unbuilt rest", field<unsigned char>(coder, 5));
    slot_of<void __thiscall(void*)>(coder, 1)(coder);
    print("coder built flag", field<unsigned char>(coder, 4));
    print("coder value of z", field<unsigned char>(coder, 4 + 'z'));
    print("coder value of byte 255", field<unsigned char>(coder, 4 + 255));

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
    const auto* const attributes = field<SECURITY_ATTRIBUTES*>(file, 8);
    const auto descriptor = field<void*>(file, 12);
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
    print("file no security", !field<void*>(file, 8) && !field<void*>(file, 12));
    print("file no mapping", field<int>(file, 16));
    print("file no view", !field<void*>(file, 20) && !field<void*>(file, 24));
    print("file granularity", field<unsigned>(file, 32));
    show_security(file);

    using Open = int __thiscall(void*, const char*, unsigned, unsigned long long, unsigned, void*);
    print("slot 7 opens", slot_of<Open>(file, 7)(file, path, CFile::modeReadWrite, 70000, 0, nullptr));
    DWORD flags = 0;
    GetHandleInformation(field<HANDLE>(file, 16), &flags);
    print("open mapping is inherited", (flags & HANDLE_FLAG_INHERIT) != 0);
    print("open data minus view", field<int>(file, 24) - field<int>(file, 20));
    print("open data", field<char*>(file, 24) ? *field<char*>(file, 24) : -1);
    print("open name", strcmp(field<char*>(file, 28), path) == 0);
    print("open data length", field<unsigned>(file, 36));
    print("open view length", field<unsigned>(file, 40));
    print("open file size", static_cast<int>(field<unsigned long long>(file, 48)));
    print("open mapped length", field<unsigned>(file, 56));
    print("slot 5 flushes", slot_of<bool __thiscall(void*)>(file, 5)(file));
    CString name;
    slot_of<void __thiscall(void*, CString&)>(file, 6)(file, name);
    print("slot 6 name", name == path);

    slot_of<void __thiscall(void*)>(file, 4)(file);
    print("closed mapping", field<int>(file, 16));
    print("closed pointers and lengths are 0",
          !field<void*>(file, 20) && !field<void*>(file, 24) && !*field<char*>(file, 28) && !field<int>(file, 36) &&
              !field<int>(file, 40) && !field<long long>(file, 48) && !field<int>(file, 56));
    slot_of<void __thiscall(void*)>(file, 2)(file);
    print("freed security", !field<void*>(file, 8) && !field<void*>(file, 12));
    print("file destructor", slot_of<Destroy>(file, 3)(file, 0) == file);
    operator delete(file);
}

void show_composer() {
    print("composer size", sizeof(CEmailTool));
    CEmailTool* const composer = new CEmailTool;
    composer->ComposeAt(CTime(2006, 1, 15, 9, 5, 7), "s", "b", "t", nullptr);
    print("composer message at 4", strncmp(field<char*>(composer, 4 + 20), "To: \"t\" \r\n", 10) == 0);
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
