// For tests: a fresh folder below the temporary directory, removed with its files at the end.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

class ScratchFolder {
public:
    ScratchFolder() {
        const std::filesystem::path temp = std::filesystem::temp_directory_path();
        unsigned number = 0;
        do
            m_path = (temp / ("wendax_test_" + std::to_string(number++))).string();
        while (!std::filesystem::create_directory(m_path));
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string path(const std::string& name) const {
        return m_path + static_cast<char>(std::filesystem::path::preferred_separator) + name;
    }

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

    // Names of the files, in no order, that begin and end so.
    std::vector<std::string> files(const std::string& begin, const std::string& end = "") const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
            const std::string name = entry.path().filename().string();
            if (name.size() >= end.size() && name.compare(0, begin.size(), begin) == 0 &&
                name.compare(name.size() - end.size(), end.size(), end) == 0)
                names.push_back(name);
        }
        return names;
    }

private:
    std::string m_path;
};

#ifdef _WIN32
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
#endif
