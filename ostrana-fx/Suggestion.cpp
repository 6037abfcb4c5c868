#include "Suggestion.h"

#include <algorithm>
#include <cctype>

namespace ostrana::fx {

namespace {

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

}  // namespace

// Levenshtein distance over lower-case letters, one row at a time.
std::size_t Suggestion::distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            const std::size_t substitution =
                diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            row[j] = std::min({above + 1, row[j - 1] + 1, substitution});
            diagonal = above;
        }
    }
    return row[b.size()];
}

std::string Suggestion::closest(const std::string& word,
                                const std::vector<std::string>& candidates) {
    // Close enough: at most a third of the word's letters wrong, and at least one allowed.
    const std::size_t allowed = std::max<std::size_t>(1, word.size() / 3);
    std::string best;
    std::size_t bestDistance = allowed + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t d = distance(word, candidate);
        if (d < bestDistance) {
            bestDistance = d;
            best = candidate;
        }
    }
    return best;
}

std::string Suggestion::didYouMean(const std::string& word,
                                   const std::vector<std::string>& candidates) {
    const std::string best = closest(word, candidates);
    return best.empty() ? "" : "; did you mean '" + best + "'?";
}

}  // namespace ostrana::fx
