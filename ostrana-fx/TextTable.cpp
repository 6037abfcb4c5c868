#include "TextTable.h"

#include <algorithm>
#include <utility>

namespace ostrana::fx {

TextTable::TextTable(std::vector<std::string> headings) : headings_(std::move(headings)) {
    for (const std::string& heading : headings_) widths_.push_back(heading.size());
}

void TextTable::add(std::vector<std::string> row) {
    row.resize(headings_.size());
    for (std::size_t column = 0; column < row.size(); ++column) {
        widths_[column] = std::max(widths_[column], row[column].size());
    }
    rows_.push_back(std::move(row));
}

void TextTable::printLine(const std::vector<std::string>& cells, std::ostream& out) const {
    std::string line;
    for (std::size_t column = 0; column < cells.size(); ++column) {
        line += cells[column] + std::string(widths_[column] - cells[column].size() + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << "\n";
}

void TextTable::printHeadings(std::ostream& out) const {
    printLine(headings_, out);
}

void TextTable::printRow(std::size_t index, std::ostream& out) const {
    printLine(rows_.at(index), out);
}

void TextTable::print(std::ostream& out) const {
    printHeadings(out);
    for (const auto& row : rows_) printLine(row, out);
}

}  // namespace ostrana::fx
