// A C++ user.
#include <qelvm.h>

#include <vector>

int main() {
  const std::vector<double> x{1.0, 2.0, 0.0};
  std::vector<double> y(x.size());
  const QelStatus status = qelsInv_64f_A53(x.data(), y.data(), static_cast<int32_t>(x.size()));
  return status == qelStatusSingularity && y[1] == 0.5 ? 0 : 1;
}
