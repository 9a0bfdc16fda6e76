#include "app/export/NearestNames.h"

#include <algorithm>
#include <numeric>

#include "platform/Text.h"

namespace {

/// How many bytes must be put in, taken out or changed to make one text of the other.
std::size_t editDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t above = row[j + 1];
      row[j + 1] = std::min({above + 1, row[j] + 1, diagonal + (a[i] == b[j] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row.back();
}

struct Candidate {
  std::size_t distance;
  std::string name;
};

}  // namespace

std::vector<std::string> nearestNames(const std::string& wanted, const std::vector<std::string>& names,
                                      std::size_t most) {
  const std::string folded = PDXText::caseFolded(wanted).substr(0, 200);
  std::vector<Candidate> candidates;
  for (const std::string& name : names) {
    const std::string other = PDXText::caseFolded(name).substr(0, 200);
    const bool holds = !folded.empty() && other.find(folded) != std::string::npos;
    const std::size_t distance = holds ? 0 : editDistance(folded, other);
    if (distance <= std::max<std::size_t>(2, folded.size() / 3)) candidates.push_back({distance, name});
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.distance < b.distance; });
  std::vector<std::string> nearest;
  for (const Candidate& candidate : candidates) {
    if (nearest.size() < most) nearest.push_back(candidate.name);
  }
  return nearest;
}

std::string nearestNamesHint(const std::string& wanted, const std::vector<std::string>& names) {
  std::string hint;
  for (const std::string& name : nearestNames(wanted, names))
    hint += (hint.empty() ? "\"" : ", \"") + name + "\"";
  return hint.empty() ? "" : "; the nearest: " + hint;
}
