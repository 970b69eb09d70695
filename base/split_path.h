// The parts of a Windows path.
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
