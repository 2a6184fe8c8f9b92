#pragma once

namespace vlmr::test {

/// Sets a variable of this process's environment, as libraries and child processes see it.
void SetVariable(const char* name, const char* value);
void UnsetVariable(const char* name);

}  // namespace vlmr::test
