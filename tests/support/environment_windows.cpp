#include "support/environment.h"

#include <cstdlib>

namespace vlmr::test {

void SetVariable(const char* name, const char* value) { ::_putenv_s(name, value); }
void UnsetVariable(const char* name) { ::_putenv_s(name, ""); }

}  // namespace vlmr::test
