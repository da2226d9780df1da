#pragma once

#include <string>

// Loads a shared object, which is never unloaded, and returns the address of its function `name`.
// The system's suffix is appended to the path. Throws std::runtime_error on failure.
void* LoadFunction(const std::string& path, const char* name);
