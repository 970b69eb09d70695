// Of the parts of a path only the last one is wanted: the name under which a file is attached.
#include "base/split_path.h"

CStdSplitPath::CStdSplitPath(const char* path) : m_path(path) {}

CStdString CStdSplitPath::GetFileName() const {
    const int backslash = m_path.rfind('\\');
    // Kept: a backslash at position 1 doesn't count either, although a name follows it.
    if (backslash <= 1)
        return "";
    return m_path.substr(static_cast<unsigned>(backslash) + 1);
}

CStdString gen::path_in_folder(const char* folder, const char* name) {
    CStdString path(folder);
    path.trim_right("\\");
    path += "\\";
    path += name;
    return path;
}
