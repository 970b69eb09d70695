// The split of a module list, and the directory, against a slow and simple reading of their rules.
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "glib/module_list.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = std::string(reinterpret_cast<const char*>(data), size).c_str();
    std::vector<std::string> expected;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty())
            expected.push_back(line.find('.') == line.npos ? line + ".dll" : line);

    glib::ModuleList list;
    list.Add(text.c_str());
    if (list.size() != expected.size())
        std::abort();
    for (unsigned i = 0; i < list.size(); ++i)
        if (list[i] != expected[i])
            std::abort();

    const gen::basic_string<char> directory = glib::module_directory(text.c_str());
    const std::string kept = !text.empty() && text.back() == '\\' ? text.substr(0, text.size() - 1) : text;
    if (directory.c_str() != kept)
        std::abort();
    const std::string path = glib::module_path(directory, "m.dll").c_str();
    if (path != (kept.empty() ? "m.dll" : kept + "\\m.dll"))
        std::abort();
    return 0;
}
