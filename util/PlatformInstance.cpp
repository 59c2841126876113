// Stands alone in its file so that a test program can define its own Util::platform() instead.
#include "util/Platform.h"

namespace Util {

Platform& platform() {
  static Platform instance;
  return instance;
}

}  // namespace Util
