// What was measured, and the tables of it.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace bench {

/// Whose calls, of what export, with which arguments, of what length.
struct Place {
  std::string section, family, arguments;
  int length;

  auto operator<=>(const Place&) const = default;
};

class Figures {
public:
  void add(const Place& place, const std::string& who, double nanoseconds) {
    figures_[place][who] = nanoseconds;
  }

  /// Nanoseconds of a call; 0 where it was not measured.
  double call(const Place& place, const std::string& who) const;
  /// The same for one element.
  double element(const Place& place, const std::string& who) const;
  /// How many times as fast `who` is as `other`; 0 where one of them was not measured.
  double ratio(const Place& place, const std::string& other, const std::string& who) const;

  /// A line for each figure, under a heading.
  void printCsv() const;

private:
  std::map<Place, std::map<std::string, double>> figures_;
};

/// Values of several families: their geometric mean and the smallest. Zeros do not count.
class Mean {
public:
  void add(const std::string& family, double value);

  int count() const { return count_; }
  double mean() const;
  double smallest() const { return smallest_; }
  const std::string& smallestFamily() const { return smallestFamily_; }

private:
  int count_ = 0;
  double logarithms_ = 0;
  double smallest_ = 0;
  std::string smallestFamily_;
};

struct Column {
  std::string title;
  std::function<double(const Place&)> value;
  bool mean = false; ///< with its geometric mean below
};
struct Row {
  std::vector<std::string> texts;
  Place place;
};
/// A Markdown table: of each row its texts, then the values of the columns. A blank line ends it.
void printTable(const std::vector<std::string>& textTitles, const std::vector<Column>& columns,
                const std::vector<Row>& rows);

/// A line of cells between bars.
void printCells(const std::vector<std::string>& cells);
/// The first line of a table, and the one under it.
void printTitles(const std::vector<std::string>& titles);

/// "1.23", or a dash for what was not measured.
std::string cell(double value);

} // namespace bench
