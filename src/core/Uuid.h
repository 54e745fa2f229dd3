#pragma once

#include <string>

namespace zolvex {

/// A random UUID (RFC 9562 version 4) in its canonical form with upper-case digits, from the system's entropy source.
std::string randomUuid();

}  // namespace zolvex
