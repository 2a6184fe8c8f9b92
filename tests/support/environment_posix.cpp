#include <cstdlib>

#include "support/environment.h"

namespace vlmr::test {

void SetVariable(const char* name, const char* value) { ::setenv(name, value, /*replace=*/1); }
void UnsetVariable(const char* name) { ::unsetenv(name); }

}  // namespace vlmr::test
