// What writer and reader of compiled files share: the marks and the scrambler.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace rx_compiled {

constexpr std::string_view script_mark = "#!";
constexpr std::string_view interpreter_name = "vandra";
constexpr std::string_view mark = "@vcmp";
constexpr std::string_view seam = "\\\n";
constexpr char end_mark = '\\';
constexpr uint32_t version = 2;
constexpr uint32_t version_without_globalv = 1;
constexpr uint32_t number_size = 4;
constexpr uint32_t smallest_token = 5 * number_size;

constexpr uint64_t modulus = 2147483647; // 2 ** 31 - 1

/// The product of two numbers below the modulus and above 0, which is again such a number.
constexpr uint64_t product(uint64_t a, uint64_t b) {
    uint64_t result = a * b;
    result = (result & modulus) + (result >> 31);
    return (result & modulus) + (result >> 31);
}

/// The stream of pseudo-random bytes: the multiplicative generator of Park and Miller ("Random number generators: good
/// ones are hard to find", 1988), nudged by a step from time to time. It keeps a text from being read at a glance and
/// is no cipher. One state runs over all blocks of a file in their order.
class scrambler {
public:
    void scramble(char *bytes, size_t size) { run_over(bytes, size, 1); }
    void unscramble(char *bytes, size_t size) { run_over(bytes, size, -1); }

private:
    static constexpr uint64_t multiplier = 16807;
    static constexpr uint64_t step = 2468013;
    static constexpr size_t longest_run = 30;
    uint64_t seed_ = 13572468;

    /// Powers of the multiplier. With them the bytes of a run don't have to wait for each other.
    static constexpr std::array<uint64_t, longest_run + 1> powers = [] {
        std::array<uint64_t, longest_run + 1> made{1};
        for (size_t i = 1; i < made.size(); i++) made[i] = product(made[i - 1], multiplier);
        return made;
    }();

    void run_over(char *bytes, size_t size, int sign) {
        seed_ = product(seed_, multiplier);
        size_t run = 1 + (20 * seed_ >> 31) + 10;
        while (size > 0) {
            size_t chunk = std::min(run, size);
            for (size_t i = 0; i < chunk; i++) {
                auto pad = static_cast<int>(product(seed_, powers[i + 1]) >> 23) + 1;
                bytes[i] = static_cast<char>(bytes[i] + sign * pad);
            }
            seed_ = std::min(product(seed_, powers[chunk]) + step, modulus - 1);
            bytes += chunk;
            size -= chunk;
        }
    }
};

} // namespace rx_compiled
