// For tests: runs the operations that a row of bytes stands for on a CStdString and on a std::string side by side.
#pragma once

#include <cstddef>
#include <cstdint>

// Ends the program at the first difference, or when the string's own book-keeping is out of order.
void run_string_operations(const std::uint8_t* data, std::size_t size);
