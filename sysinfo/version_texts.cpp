#include "sysinfo/version_texts.h"

#include <stdlib.h>
#include <string.h>

namespace sysinfo {

namespace {

constexpr int kParts = 4;

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
                version.product.c_str(), atoi(version.parts[0].c_str()), atoi(version.parts[1].c_str()),
                atoi(version.parts[2].c_str()), atoi(version.parts[3].c_str()));
    return text;
}

CStdString describe_host_application(const FileVersion& version) {
    CStdString text;
    // Kept: no blank behind "Product name:", no colon behind "Build number".
    text.format("Lumivale module info:\nCompany: %s\nProduct name:%s\nVersion number: %s.%s.%s\nBuild number %s",
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
