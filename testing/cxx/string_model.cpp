#include "testing/cxx/string_model.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "base/std_string.h"

namespace {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

    bool at_end() const { return m_at == m_end; }
    unsigned byte() { return at_end() ? 0 : *m_at++; }
    unsigned below(std::size_t limit) { return limit ? byte() % static_cast<unsigned>(limit) : 0; }
    // Up to 5 characters, mostly of a small alphabet, so that patterns are found.
    std::string text() {
        std::string text(below(6), 'a');
        for (char& c : text) {
            const unsigned choice = byte();
            c = choice == 255 ? '\0' : static_cast<char>('a' + choice % 3);
        }
        return text;
    }

private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
};

std::string up_to_nul(const std::string& text) {
    return text.c_str();
}

int model_replace_all(std::string& text, const std::string& pattern, const std::string& replacement) {
    int count = 0;
    for (std::size_t at = 0; !pattern.empty() && (at = text.find(pattern, at)) != std::string::npos; ++count) {
        text.replace(at, pattern.size(), replacement);
        at += replacement.size();
    }
    return count;
}

void require(bool condition, const char* what, unsigned operation) {
    if (condition)
        return;
    std::fprintf(stderr, "string model: operation %u: %s\n", operation, what);
    std::abort();
}

void compare(const CStdString& text, const std::string& model, unsigned operation) {
    require(text.length() == model.size(), "length", operation);
    require(model.compare(0, model.size(), text.c_str(), text.length()) == 0, "characters", operation);
    require(text.c_str()[text.length()] == '\0', "NUL", operation);
    require(text.count() <= text.capacity(), "count within capacity", operation);
}

void step(unsigned operation, Input& input, CStdString& text, std::string& model) {
    switch (operation) {
    case 0: {
        const std::string other = input.text();
        text = other.c_str();
        model = up_to_nul(other);
        break;
    }
    case 1: {
        const std::string other = input.text();
        text.append(other.data(), static_cast<unsigned>(other.size()));
        model += other;
        break;
    }
    case 2: { // a part of itself, the NUL perhaps included
        const unsigned from = input.below(model.size() + 1);
        const unsigned n = input.below(text.count() ? text.count() - from + 1 : 1);
        const std::string part = (model + '\0').substr(from, n);
        text.append(text.c_str() + from, n);
        model += part;
        break;
    }
    case 3: {
        const unsigned from = input.below(model.size() + 1);
        const unsigned n = input.below(text.count() ? text.count() - from + 1 : 1);
        text.assign(text.c_str() + from, n);
        model = (model + '\0').substr(from, n);
        break;
    }
    case 4: {
        const std::string pattern = up_to_nul(input.text());
        const std::string replacement = up_to_nul(input.text());
        const int count = text.replace_all(pattern.c_str(), replacement.c_str());
        require(count == model_replace_all(model, pattern, replacement), "number of replacements", operation);
        break;
    }
    case 5: {
        const std::string pattern = up_to_nul(input.text());
        const unsigned from = input.byte();
        const std::size_t hit = pattern.empty() ? std::string::npos : model.find(pattern, from);
        require(text.find(pattern.c_str(), from) == static_cast<int>(hit), "place found", operation);
        const char last = static_cast<char>(input.byte());
        require(text.rfind(last) == static_cast<int>(model.rfind(last)), "last place found", operation);
        break;
    }
    case 6: {
        const std::string set = up_to_nul(input.text());
        text.trim_right(set.c_str());
        model.erase(model.find_last_not_of(set) + 1);
        break;
    }
    case 7: {
        const unsigned from = input.byte();
        const unsigned n = input.byte();
        text = text.substr(from, n);
        model = from < model.size() ? model.substr(from, n) : "";
        break;
    }
    case 8:
        text.grow(text.count() + input.byte());
        break;
    case 9: {
        const unsigned n = input.below(text.count() + 1);
        text.reserve(n);
        model.resize(n ? std::min<std::size_t>(n - 1, model.size()) : 0);
        break;
    }
    case 10: {
        const std::string prefix = up_to_nul(input.text());
        text.format("%s-%s", prefix.c_str(), text.c_str());
        model = (prefix + '-' + model.c_str()).substr(0, 32773); // 5 + 32 * 1024 characters
        break;
    }
    case 11: {
        CStdString other(std::move(text));
        compare(text, "", operation);
        text = CStdString(other) + 'x';
        model += 'x';
        break;
    }
    case 12:
        text = nullptr;
        if (!model.empty())
            model[0] = '\0';
        break;
    case 13: {
        const std::string other = up_to_nul(input.text());
        text = other.c_str() + text + text;
        model = other + model + model;
        break;
    }
    case 14: {
        const unsigned n = input.byte();
        const std::string other = input.text().substr(0, n);
        std::copy(other.begin(), other.end(), text.get_buffer(n));
        text.release_buffer();
        model = up_to_nul(other);
        break;
    }
    default: {
        const unsigned i = input.byte();
        try {
            text.at(i) = 'z';
            require(i < model.size(), "access beyond the length", operation);
            model[i] = 'z';
        } catch (const gen::genlib_out_of_range& e) {
            require(i >= model.size() && e.index == i && e.size == model.size(), "range reported", operation);
        }
    }
    }
}

} // namespace

void run_string_operations(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    CStdString text;
    std::string model;
    while (!input.at_end()) {
        const unsigned operation = input.byte() % 16;
        step(operation, input, text, model);
        compare(text, model, operation);
        if (model.size() > 400) { // longer texts only cost time: every limit but that of format lies below
            text = "";
            model.clear();
        }
    }
}
