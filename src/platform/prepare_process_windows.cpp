#include "platform/native.h"

namespace vlmr::platform {

void PrepareProcess() {}

}  // namespace vlmr::platform
