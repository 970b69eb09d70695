// The parts of a version stay texts, as they stand in the resource; the running program's section alone makes numbers
// of them.
#include "sysinfo/version_texts.h"

#include <string.h>

namespace sysinfo {

namespace {

constexpr int kParts = 4;

// As atoi, which takes memory from the runtime's heap on some systems. Of a number beyond 32 bits those count.
int leading_number(const char* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r'))
        ++text;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    unsigned value = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        value = value * 10 + static_cast<unsigned>(*text - '0');
    return static_cast<int>(negative ? 0 - value : value);
}

} // namespace

CStdString product_version_part(const char* version, int index) {
    CStdString part;
    if (index < 0 || index >= kParts)
        return part;
    const char* begin = version;
    for (int i = 0; i < index; ++i) {
        const char* const comma = strchr(begin, ',');
        if (!comma)
            return part;
        begin = comma + 1;
    }
    if (index == kParts - 1)
        while (const char* const comma = strchr(begin, ','))
            begin = comma + 1;
    part.assign(begin, static_cast<unsigned>(strcspn(begin, ",")));
    part.replace_all(" ", "");
    return part;
}

CStdString describe_module(const FileVersion& version) {
    CStdString text;
    text.format("\nCompany: %s\nProduct Name: %s\nProduct Version: %d.%d.%d.%d\n", version.company.c_str(),
                version.product.c_str(), leading_number(version.parts[0].c_str()),
                leading_number(version.parts[1].c_str()), leading_number(version.parts[2].c_str()),
                leading_number(version.parts[3].c_str()));
    return text;
}

CStdString describe_host_application(const FileVersion& version, const char* name) {
    CStdString text;
    // Kept: no blank behind "Product name:", no colon behind "Build number".
    text.format("%s module info:\nCompany: %s\nProduct name:%s\nVersion number: %s.%s.%s\nBuild number %s", name,
                version.company.c_str(), version.product.c_str(), version.parts[0].c_str(), version.parts[1].c_str(),
                version.parts[2].c_str(), version.parts[3].c_str());
    return text;
}

CStdString describe_browser(unsigned long major, unsigned long minor, unsigned long build) {
    CStdString text;
    // Kept: numbers beyond 31 bits are negative.
    text.format("Internet Explorer Version: %d.%d\nBuild Number: %d", static_cast<int>(major), static_cast<int>(minor),
                static_cast<int>(build));
    return text;
}

} // namespace sysinfo
