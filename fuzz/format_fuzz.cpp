// Formatting against one big formatted buffer: the result is its beginning, cut at the capacity of the last try.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/std_string.h"

namespace {

// 1024 characters more than the format text, then 1024 more with each try, until 32767 are reached.
std::size_t last_capacity(std::size_t format_length, std::size_t result_length) {
    std::size_t capacity = format_length + 1024;
    while (result_length > capacity && capacity < 32767)
        capacity += 1024;
    return capacity;
}

} // namespace

// Bytes 0 to 3 size the padding, byte 4 is a number and a character; the first half of the rest goes into the format
// text, the other into the arguments.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 6)
        return 0;
    const auto mostly_short = [&](int i) { return data[i] * (data[i + 1] == 255 ? 257 : 1 + data[i + 1] % 16); };
    const int width = mostly_short(0);
    const int precision = mostly_short(2);
    const std::string rest(reinterpret_cast<const char*>(data) + 5, size - 5);
    const std::string argument = rest.substr(rest.size() / 2).c_str();
    std::string format = std::string(data[4] > 250 ? precision : 0, '=') + rest.substr(0, rest.size() / 2).c_str();
    for (std::size_t at = 0; (at = format.find('%', at)) != std::string::npos; at += 2)
        format.insert(at, 1, '%');
    format += "%*d|%-*.*s|%c|%s";

    const auto print = [&](char* buffer, std::size_t capacity) {
        return std::snprintf(buffer, capacity, format.c_str(), width, data[4], precision, precision, argument.c_str(),
                             data[4], argument.c_str());
    };
    std::string whole(static_cast<std::size_t>(print(nullptr, 0)), '\0');
    print(whole.data(), whole.size() + 1);
    const std::size_t capacity = last_capacity(format.size(), whole.size());
    const std::string expected = whole.size() > capacity ? std::string(whole.substr(0, capacity).c_str()) : whole;

    CStdString text("before");
    text.format(format.c_str(), width, data[4], precision, precision, argument.c_str(), data[4], argument.c_str());
    if (std::string(text.c_str(), text.length()) != expected ||
        text.capacity() != std::max<std::size_t>(64, capacity + 1))
        std::abort();
    return 0;
}
