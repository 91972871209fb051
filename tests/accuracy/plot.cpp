#include "plot.hpp"

#include "measurement.hpp"

#include <fmt/format.h>

#include <fstream>
#include <stdexcept>

namespace accuracy {
namespace {

constexpr int columns = 240;
constexpr int inputsPerColumn = 100;

/// The range of x: even steps, or even steps of the logarithm where it spans powers of ten.
class Axis {
public:
  explicit Axis(const peers::Interval& range)
      : low_(range.low),
        high_(range.high),
        logarithmic_(range.low > 0 && range.high > 100 * range.low) {}

  /// The value at a share, 0 to 1, of the axis.
  double at(double share) const {
    return logarithmic_ ? low_ * std::pow(high_ / low_, share) : low_ + (high_ - low_) * share;
  }

private:
  double low_, high_;
  bool logarithmic_;
};

struct Curve {
  std::string name;
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
    list.push_back({record.e == nullptr ? "C library" : record.e->name, {}});
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
      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 800 330\" "
      "font-family=\"sans-serif\" "
      "font-size=\"12\">\n<rect width=\"800\" height=\"330\" fill=\"white\"/>\n"
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
  constexpr const char* colours[] = {"#999999", "#d95f02", "#1b6ca8"}; // the C library behind
  for (std::size_t i = list.size(); i-- > 0;) {
    const char* colour = colours[(i + 1) % list.size()];
    svg += fmt::format("<polyline fill=\"none\" stroke=\"{}\" points=\"", colour);
    for (std::size_t column = 0; column < columns; ++column)
      svg += fmt::format("{:.1f},{:.1f} ",
                         left + width * (static_cast<double>(column) + 0.5) / columns,
                         vertical(list[i].errors[column]));
    svg += fmt::format("\"/>\n<text x=\"{}\" y=\"320\" fill=\"{}\">{}</text>\n",
                       left + 160 * static_cast<double>(i), colour, list[i].name);
  }
  svg += "</svg>\n";

  const std::string path = directory + "/" + family.name + ".svg";
  std::ofstream out(path);
  if (!(out << svg))
    throw std::runtime_error("cannot write " + path);
}

} // namespace accuracy
