#pragma once
// The chaos run's source of randomness: a std::mt19937_64 with an explicit seed, and a few
// draws written out by hand, so that one seed gives the same run with every standard library
// (the library's own distributions differ from one implementation to the next).

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace quelto::chaos {

class ChaosRandom {
  public:
    explicit ChaosRandom(std::uint64_t seed) : engine_(seed) {}

    // A whole number in [0, n); 0 when n is 0.
    std::uint64_t below(std::uint64_t n) { return n == 0 ? 0 : engine_() % n; }
    // A whole number in [low, high].
    long between(long low, long high) {
        return low + static_cast<long>(below(static_cast<std::uint64_t>(high - low + 1)));
    }
    // A real number in [0, 1).
    double unit() { return static_cast<double>(engine_() >> 11) * 0x1.0p-53; }
    double between(double low, double high) { return low + (high - low) * unit(); }
    // True with probability p.
    bool chance(double p) { return unit() < p; }

    template <typename T>
    const T& pick(const std::vector<T>& items) {
        return items[below(items.size())];
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace quelto::chaos
