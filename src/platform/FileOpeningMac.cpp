#include "platform/FileOpening.h"

int PDXFileOpening::beneath(int folder, const std::string& name, int flags) {
  return beneathByWalking(folder, name, flags);
}
