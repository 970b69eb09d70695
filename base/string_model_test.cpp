#include "testing/cxx/string_model.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(StringModel, Random_operations_give_what_the_standard_string_gives) {
    for (unsigned seed = 0; seed < 3000; ++seed) {
        std::mt19937 random(seed);
        std::vector<std::uint8_t> bytes(1 + random() % 400);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        SCOPED_TRACE(seed);
        run_string_operations(bytes.data(), bytes.size());
    }
}

} // namespace
