/* A C99 user: header, linking, a call, its status as text, the version and the processor code. */
#include <qelvm.h>

#include <stdio.h>

int main(void) {
  const float x[3] = {0.0f, 1.0f, -1.0f};
  float y[3];
  const QelStatus status = qelsExp_32f_A24(x, y, 3);
  const QelLibVersion* version = qelvmGetLibVersion();
  printf("%s %.7g %.7g %.7g: %s\n", version->versionText, y[0], y[1], y[2], qelStatusText(status));
  printf("%s\n", version->cpuCode);
  return status == qelStatusOk && y[0] == 1.0f && version->versionMajor == QELVM_VERSION_MAJOR ? 0
                                                                                               : 1;
}
