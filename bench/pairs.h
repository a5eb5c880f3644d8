#pragma once

#include <algorithm>
#include <functional>
#include <vector>

/// Medians of a cost and of the least it could be, measured alternately.
struct Pairs {
  double ours = 0;
  double least = 0;
  double more = 0;  ///< of the differences, pair by pair
};

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// @param ours, least measure once, in any unit
inline Pairs measurePairs(int count, const std::function<double()>& ours, const std::function<double()>& least) {
  std::vector<double> our;
  std::vector<double> other;
  std::vector<double> more;
  for (int i = 0; i < count; ++i) {
    // Each goes first equally often.
    const double first = i % 2 == 0 ? ours() : least();
    const double second = i % 2 == 0 ? least() : ours();
    our.push_back(i % 2 == 0 ? first : second);
    other.push_back(i % 2 == 0 ? second : first);
    more.push_back(our.back() - other.back());
  }
  return {median(our), median(other), median(more)};
}
