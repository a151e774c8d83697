#pragma once

#include <QStringView>

#include <cmath>
#include <cstdint>
#include <numbers>

namespace tessary::server::demo {

// Counter-based randomness: every draw is a pure function of (seed, stream, index), so a day's
// value never depends on how many days were generated before it, and the market comes out the
// same on every platform and library version.

constexpr std::uint64_t mix(std::uint64_t x)
{
    // splitmix64's finaliser.
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

constexpr std::uint64_t key(std::uint64_t seed, std::uint64_t stream, std::uint64_t index)
{
    return mix(mix(seed ^ mix(stream)) + index);
}

// FNV-1a of a symbol, so a symbol's stream does not depend on its place in the universe.
inline std::uint64_t streamOf(QStringView text, std::uint64_t salt = 0)
{
    std::uint64_t hash = 0xcbf29ce484222325ULL ^ salt;
    for (const QChar c : text) {
        hash ^= c.unicode();
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

// Uniform in (0, 1).
inline double uniform(std::uint64_t k)
{
    return (static_cast<double>(mix(k) >> 11) + 0.5) * 0x1.0p-53;
}

// Standard normal (Box-Muller on two independent uniforms).
inline double normal(std::uint64_t k)
{
    const double u1 = uniform(k);
    const double u2 = uniform(k ^ 0x5bd1e995ULL);
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * std::numbers::pi * u2);
}

} // namespace tessary::server::demo
