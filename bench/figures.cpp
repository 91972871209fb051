#include "figures.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>

namespace bench {

double Figures::call(const Place& place, const std::string& who) const {
  const auto row = figures_.find(place);
  if (row == figures_.end())
    return 0;
  const auto figure = row->second.find(who);
  return figure == row->second.end() ? 0 : figure->second;
}

double Figures::element(const Place& place, const std::string& who) const {
  return call(place, who) / place.length;
}

double Figures::ratio(const Place& place, const std::string& other, const std::string& who) const {
  const double time = call(place, who);
  return time > 0 ? call(place, other) / time : 0;
}

void Figures::printCsv() const {
  fmt::print("section,family,arguments,length,who,nanoseconds_per_call\n");
  for (const auto& [place, row] : figures_)
    for (const auto& [who, nanoseconds] : row)
      fmt::print("{},{},\"{}\",{},{},{:.4f}\n", place.section, place.family, place.arguments,
                 place.length, who, nanoseconds);
}

void Mean::add(const std::string& family, double value) {
  if (value <= 0)
    return;
  logarithms_ += std::log(value);
  if (count_ == 0 || value < smallest_) {
    smallest_ = value;
    smallestFamily_ = family;
  }
  ++count_;
}

double Mean::mean() const {
  return count_ == 0 ? 0 : std::exp(logarithms_ / count_);
}

std::string cell(double value) {
  return value > 0 ? fmt::format("{:.2f}", value) : "-";
}

void printCells(const std::vector<std::string>& cells) {
  fmt::print("| {} |\n", fmt::join(cells, " | "));
}

void printTitles(const std::vector<std::string>& titles) {
  printCells(titles);
  for (std::size_t i = 0; i < titles.size(); ++i)
    fmt::print("|---");
  fmt::print("|\n");
}

void printTable(const std::vector<std::string>& textTitles, const std::vector<Column>& columns,
                const std::vector<Row>& rows) {
  std::vector<std::string> titles = textTitles;
  for (const Column& column : columns)
    titles.push_back(column.title);
  printTitles(titles);
  for (const Row& row : rows) {
    std::vector<std::string> cells = row.texts;
    for (const Column& column : columns)
      cells.push_back(cell(column.value(row.place)));
    printCells(cells);
  }
  if (std::ranges::none_of(columns, &Column::mean)) {
    fmt::print("\n");
    return;
  }
  std::vector<std::string> cells(textTitles.size());
  cells[0] = "geometric mean (of)";
  for (const Column& column : columns) {
    Mean mean;
    for (const Row& row : rows)
      mean.add(row.place.family, column.value(row.place));
    cells.push_back(!column.mean        ? ""
                    : mean.count() == 0 ? "-"
                                        : fmt::format("{} ({})", cell(mean.mean()), mean.count()));
  }
  printCells(cells);
  fmt::print("\n");
}

} // namespace bench
