// SPDX-License-Identifier: MIT
// Measurements over time, gathered into steps of equal length.
#ifndef VEXO_REPORT_BUCKETS_H
#define VEXO_REPORT_BUCKETS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexo {

// Least, mean and greatest of some measurements.
struct Statistics {
    std::uint64_t count = 0;
    double least = 0;
    double greatest = 0;
    double sum = 0;
    std::int64_t greatestAtMs = 0;  // the first time

    void add(std::int64_t epochMs, double value);
    void add(const Statistics& other);
    double mean() const { return count == 0 ? 0 : sum / static_cast<double>(count); }
};

// The lengths that steps may have, in milliseconds: each divides a quarter of an hour or is a multiple of it, so that the
// steps begin at round local times in every zone.
std::int64_t stepAtLeast(std::int64_t milliseconds);

class Buckets {
public:
    // Steps of `stepMs`, beginning at multiples of it since 1970, from the one that holds `firstMs` to the one that holds
    // `lastMs`.
    Buckets(std::int64_t firstMs, std::int64_t lastMs, std::int64_t stepMs);

    // What lies outside is left out.
    void add(std::int64_t epochMs, double value);

    // The same in steps of at least twice the length.
    Buckets coarser() const;

    std::int64_t startMs() const { return m_startMs; }
    std::int64_t stepMs() const { return m_stepMs; }
    std::int64_t endMs() const { return m_startMs + m_stepMs * static_cast<std::int64_t>(m_buckets.size()); }
    const std::vector<Statistics>& buckets() const { return m_buckets; }

private:
    std::int64_t m_stepMs;
    std::int64_t m_startMs;
    std::vector<Statistics> m_buckets;
};

}  // namespace vexo

#endif
