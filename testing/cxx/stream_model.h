// For tests: runs the operations that a row of bytes stands for on a memory stream and on a std::string side by side.
#pragma once

#include <cstdint>
#include <string>

#include "glib/mem_stream.h"
#include "testing/cxx/require.h"

namespace stream_model {

inline std::string contents(VMemStream& stream) {
    return std::string(reinterpret_cast<const char*>(stream.data()), static_cast<std::size_t>(stream.Size()));
}

// Bytes 0 and 1 size the growth step and the first capacity; then each operation is a byte that names it and two of
// arguments. Ends the program at the first difference.
inline void run(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return;
    const std::uint64_t step = data[0];
    std::uint64_t capacity = data[1], position = 0;
    VMemStream stream(data[0], data[1]);
    std::string model;
    for (std::size_t i = 2; i + 2 < size; i += 3) {
        const std::uint32_t first = data[i + 1], second = data[i + 2];
        switch (data[i] % 6) {
        case 0: { // elements of up to 4 bytes
            const std::uint32_t element = 1 + second % 4;
            const std::string bytes(static_cast<std::size_t>(first) * element, static_cast<char>(i));
            require(stream.Write(bytes.data(), element, first) == first);
            if (bytes.empty())
                break;
            position = position > capacity ? capacity : position; // a write from beyond lands at the capacity
            const std::uint64_t end = position + bytes.size();
            if (end > capacity)
                capacity += end - capacity > step ? end - capacity : step;
            if (model.size() < end)
                model.resize(end);
            model.replace(position, bytes.size(), bytes);
            position = end;
            break;
        }
        case 1: {
            std::string bytes(first, '?');
            const std::uint64_t left = position < model.size() ? model.size() - position : 0;
            const std::uint64_t expected = first < left ? first : left;
            require(stream.Read(bytes.data(), 1, first) == expected);
            require(bytes.substr(0, expected) == (expected ? model.substr(position, expected) : ""));
            position += expected;
            break;
        }
        case 2: {
            const std::int64_t offset = static_cast<std::int8_t>(first) * (second & 128 ? 64LL : 1LL);
            const int origin = second & 3;
            const std::uint64_t base = origin == 0 ? 0 : origin == 1 ? position : model.size();
            const bool legal = origin < 3 && static_cast<std::int64_t>(base) + offset >= 0;
            require(stream.Seek(offset, origin) == legal);
            if (legal)
                position = base + static_cast<std::uint64_t>(offset);
            break;
        }
        case 3:
            require(stream.SetSize(first * 4) == 1);
            if (first * 4 > capacity)
                capacity = first * 4 > capacity + step ? first * 4 : capacity + step;
            model.resize(first * 4);
            break;
        case 4:
            stream.set_big_endian(second & 1);
            stream.PushPosition();
            stream.SetPosition(0);
            if (model.size() >= 4) {
                const auto at = [&](int k) { return static_cast<std::uint32_t>(static_cast<std::uint8_t>(model[k])); };
                require(stream.ReadDword() == (second & 1 ? at(0) << 24 | at(1) << 16 | at(2) << 8 | at(3)
                                                          : at(3) << 24 | at(2) << 16 | at(1) << 8 | at(0)));
            }
            require(stream.PopPosition() == 1);
            break;
        case 5: {
            char line[256];
            const std::uint64_t left = position < model.size() ? model.size() - position : 0;
            require((stream.ReadLine(line, first) != nullptr) == (first && left));
            if (first && left) {
                std::string expected = model.substr(position, first - 1);
                expected = expected.substr(0, expected.find('\n') + 1 ? expected.find('\n') + 1 : expected.npos);
                require(std::string(line, expected.size()) == expected && line[expected.size()] == 0);
                position += expected.size();
            }
            break;
        }
        }
        require(stream.Tell() == position && contents(stream) == model && stream.capacity() == capacity);
    }
}

} // namespace stream_model
