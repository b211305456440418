#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kyb::macroot {

/// The checksum that `cksum` prints.
class PosixChecksum {
public:
    void add(std::string_view bytes) {
        for (const char byte : bytes) {
            step(static_cast<unsigned char>(byte));
        }
        length_ += bytes.size();
    }

    /// Of all that was added.
    std::uint32_t value() const {
        PosixChecksum whole = *this;
        for (std::uint64_t left = length_; left > 0; left >>= 8U) {
            whole.step(left & 0xFFU);
        }
        return ~whole.remainder_;
    }

private:
    void step(std::uint64_t byte) { remainder_ = (remainder_ << 8U) ^ kTable[(remainder_ >> 24U) ^ byte]; }

    /// What each byte leaves of itself, divided by the polynomial of POSIX.
    static constexpr std::array<std::uint32_t, 256> kTable = [] {
        std::array<std::uint32_t, 256> table{};
        for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
            std::uint32_t remainder = byte << 24U;
            for (int bit = 0; bit < 8; ++bit) {
                remainder = (remainder << 1U) ^ ((remainder >> 31U) * 0x04C11DB7U);
            }
            table[byte] = remainder;
        }
        return table;
    }();

    std::uint32_t remainder_ = 0;
    std::uint64_t length_ = 0;
};

} // namespace kyb::macroot
