#include "plot.hpp"

#include "axis.hpp"
#include "measurement.hpp"

#include <fmt/format.h>

#include <fstream>
#include <stdexcept>

namespace accuracy {
namespace {

/// The C library behind; A50 as a broad pale line, which shows beside A53 where both are the same.
struct Style {
  const char* colour;
  double width;
};
constexpr Style styles[] = {
    {"#f5b27a", 4}, {"#1b6ca8", 1.2}, {"#cccccc", 7}}; // A50, A53, C library
constexpr std::size_t drawingOrder[] = {2, 0, 1};

constexpr int columns = 240;
constexpr int inputsPerColumn = 100;

struct Curve {
  std::string name;
  const Export* e;            ///< null for the C library
  std::vector<double> errors; ///< the largest of each column
};

std::vector<Curve> curves(const loader::Library& library, const Family& family,
                          const std::string& pattern, const Axis& axis, const peers::Interval& y) {
  Measurement<double> measurement(library, family, pattern);
  if (measurement.records().empty())
    return {};
  measurement.addPeer();
  std::vector<Curve> list;
  for (const Record<double>& record : measurement.records())
    list.push_back({record.e == nullptr ? "C library" : record.e->name, record.e, {}});
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> share(0, 1);
  for (int column = 0; column < columns; ++column) {
    std::vector<Input<double>> inputs(inputsPerColumn);
    for (Input<double>& input : inputs)
      input = {axis.at((column + share(random)) / columns),
               y.low + (y.high - y.low) * share(random)};
    measurement.sample(inputs);
    for (std::size_t i = 0; i < list.size(); ++i) {
      Worst<double>& worst = measurement.records()[i].normal;
      list[i].errors.push_back(worst.error);
      worst = {};
    }
  }
  return list;
}

/// What the horizontal axis shows, and where the other source lies.
std::string sourceText(const Export& e, const peers::Peer& peer) {
  if (e.sources() == 2)
    return fmt::format("src1; src2 anywhere from {} to {}", peer.y.low, peer.y.high);
  if (e.hasScalar())
    return fmt::format("src; power {}", peer.y.low);
  return "src";
}

} // namespace

void plotErrors(const loader::Library& library, const Family& family, const std::string& pattern,
                const std::string& directory) {
  const peers::Peer* peer = peers::peerOf(family.name);
  if (peer == nullptr)
    return;
  const Axis axis(peer->x);
  const std::vector<Curve> list = curves(library, family, pattern, axis, peer->y);
  if (list.empty())
    return;

  double most = 0;
  for (const Curve& curve : list)
    most = std::max(most, *std::max_element(curve.errors.begin(), curve.errors.end()));
  const double top = most <= 0.6 ? 0.6 : most <= 1 ? 1 : std::ceil(most);
  constexpr double left = 50, width = 720, upper = 40, height = 240, bottom = upper + height;
  const auto vertical = [&](double error) { return bottom - height * error / top; };

  std::string svg = fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 800 350\" "
      "font-family=\"sans-serif\" "
      "font-size=\"12\">\n<rect width=\"800\" height=\"350\" fill=\"white\"/>\n"
      "<text x=\"{}\" y=\"20\" font-size=\"14\">{}: largest error in ulps, double</text>\n",
      left, family.name);
  for (int tick = 0; tick <= 4; ++tick) {
    const double error = top * tick / 4, share = tick / 4.0;
    svg += fmt::format("<path d=\"M{0} {1:.1f}H{2}\" stroke=\"#ddd\"/>"
                       "<text x=\"{3}\" y=\"{4:.1f}\" text-anchor=\"end\">{5:.3g}</text>\n",
                       left, vertical(error), left + width, left - 6, vertical(error) + 4, error);
    svg += fmt::format("<text x=\"{:.1f}\" y=\"{}\" text-anchor=\"middle\">{:.4g}</text>\n",
                       left + width * share, bottom + 18, axis.at(share));
  }
  svg +=
      fmt::format("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n"
                  "<text x=\"14\" y=\"{}\" text-anchor=\"middle\" transform=\"rotate(-90 14 {})\">"
                  "ulp</text>\n",
                  left + width / 2, bottom + 38, sourceText(*list.front().e, *peer),
                  upper + height / 2, upper + height / 2);
  for (const std::size_t i : drawingOrder) {
    if (i >= list.size())
      continue;
    svg += fmt::format("<polyline fill=\"none\" stroke=\"{}\" stroke-width=\"{}\" points=\"",
                       styles[i].colour, styles[i].width);
    for (std::size_t column = 0; column < columns; ++column)
      svg += fmt::format("{:.1f},{:.1f} ",
                         left + width * (static_cast<double>(column) + 0.5) / columns,
                         vertical(list[i].errors[column]));
    const double x = left + 180 * static_cast<double>(i);
    svg += fmt::format("\"/>\n<path d=\"M{} 336h24\" stroke=\"{}\" stroke-width=\"{}\"/>"
                       "<text x=\"{}\" y=\"340\">{}</text>\n",
                       x, styles[i].colour, styles[i].width, x + 30, list[i].name);
  }
  svg += "</svg>\n";

  const std::string path = directory + "/" + family.name + ".svg";
  std::ofstream out(path);
  if (!(out << svg))
    throw std::runtime_error("cannot write " + path);
}

} // namespace accuracy
