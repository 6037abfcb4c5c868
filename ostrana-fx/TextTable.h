#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace ostrana::fx {

// Rows of text in columns for people: each column as wide as its widest cell, two spaces
// between columns, no spaces at the ends of lines.
class TextTable {
  public:
    explicit TextTable(std::vector<std::string> headings);

    void add(std::vector<std::string> row);
    // The headings' line.
    void printHeadings(std::ostream& out) const;
    // Row index's line.
    void printRow(std::size_t index, std::ostream& out) const;
    // The headings and every row.
    void print(std::ostream& out) const;

  private:
    void printLine(const std::vector<std::string>& cells, std::ostream& out) const;

    std::vector<std::string> headings_;
    std::vector<std::vector<std::string>> rows_;
    std::vector<std::size_t> widths_;
};

}  // namespace ostrana::fx
