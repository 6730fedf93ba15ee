// A seeded source of test data. The sequence is the same on every system, so a failure can be replayed anywhere: put
// SCOPED_TRACE(random) in front of the checks, and failures name the seed; VKKRNX_TEST_SEED in the environment replaces
// the seed of every source in the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ostream>

namespace vk::testing {

class TestRandom {
public:
    explicit TestRandom(uint64_t seed) noexcept : seed_(chosen(seed)), state_(seed_) {}

    uint64_t seed() const noexcept { return seed_; }

    /// 64 random bits (SplitMix64).
    uint64_t next() noexcept
    {
        uint64_t z = state_ += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    /// A number from 0 to count - 1; 0 for a count of 0.
    uint64_t below(uint64_t count) noexcept { return count == 0 ? 0 : next() % count; }

    /// A number from low to high, both included.
    int32_t between(int32_t low, int32_t high) noexcept
    {
        const int64_t span = static_cast<int64_t>(high) - low + 1;
        return static_cast<int32_t>(low + static_cast<int64_t>(below(static_cast<uint64_t>(span))));
    }

    bool one_in(uint32_t count) noexcept { return below(count) == 0; }

    void fill(void* bytes, size_t count) noexcept
    {
        auto* out = static_cast<uint8_t*>(bytes);
        for (size_t i = 0; i < count; ++i) {
            out[i] = static_cast<uint8_t>(next() >> 56);
        }
    }

    friend std::ostream& operator<<(std::ostream& out, const TestRandom& random)
    {
        return out << "seed " << random.seed_ << " (VKKRNX_TEST_SEED sets another)";
    }

private:
    static uint64_t chosen(uint64_t seed) noexcept
    {
        const char* text = std::getenv("VKKRNX_TEST_SEED");
        return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 0) : seed;
    }

    uint64_t seed_;
    uint64_t state_;
};

} // namespace vk::testing
