// For tests: a fresh folder below the temporary directory, removed with its files at the end.
#pragma once

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <windows.h>

class ScratchFolder {
public:
    ScratchFolder() {
        char temp[MAX_PATH], name[MAX_PATH];
        if (!GetTempPathA(sizeof(temp), temp) || !GetTempFileNameA(temp, "wxt", 0, name) || !DeleteFileA(name) ||
            !CreateDirectoryA(name, nullptr))
            throw std::runtime_error("no temporary folder");
        m_path = name;
    }
    ~ScratchFolder() { remove(m_path); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string path(const std::string& name) const { return m_path + "\\" + name; }

    // Makes a file and returns its path.
    std::string add(const std::string& name, const std::string& bytes) const {
        std::ofstream file(path(name), std::ios::binary);
        if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
            throw std::runtime_error("can't write " + path(name));
        return path(name);
    }

    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Names of the files that match, in no order.
    std::vector<std::string> files(const std::string& pattern) const {
        std::vector<std::string> names;
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA(path(pattern).c_str(), &found);
        if (search == INVALID_HANDLE_VALUE)
            return names;
        do {
            names.push_back(found.cFileName);
        } while (FindNextFileA(search, &found));
        FindClose(search);
        return names;
    }

private:
    void remove(const std::string& folder) const {
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
        if (search != INVALID_HANDLE_VALUE) {
            do {
                const std::string name = found.cFileName;
                if (name == "." || name == "..")
                    continue;
                if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                    remove(folder + "\\" + name);
                else
                    DeleteFileA((folder + "\\" + name).c_str());
            } while (FindNextFileA(search, &found));
            FindClose(search);
        }
        RemoveDirectoryA(folder.c_str());
    }

    std::string m_path;
};

// The temporary directory of this process, as long as it lives.
class TemporaryDirectory {
public:
    explicit TemporaryDirectory(const std::string& path) {
        char old[MAX_PATH];
        m_old.assign(old, GetEnvironmentVariableA("TMP", old, sizeof(old)));
        SetEnvironmentVariableA("TMP", path.c_str());
    }
    ~TemporaryDirectory() { SetEnvironmentVariableA("TMP", m_old.empty() ? nullptr : m_old.c_str()); }

private:
    std::string m_old;
};
