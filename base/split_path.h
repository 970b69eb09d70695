// Windows paths, taken apart and put together.
#pragma once

#include "base/std_string.h"

class CStdSplitPath {
public:
    // Keeps a copy of the path; null is an empty path.
    explicit CStdSplitPath(const char* path);

    // Everything after the last backslash, extension included. Empty when there is no backslash, or when the last one
    // stands at position 0 or 1 ("\name", "x\name"). A forward slash is a character like others.
    CStdString GetFileName() const;

private:
    CStdString m_path;
};

namespace gen {

// The path of a file of that name in the folder, whose trailing backslashes count for none. An empty folder gives a
// path below the root of the current drive.
CStdString path_in_folder(const char* folder, const char* name);

} // namespace gen
