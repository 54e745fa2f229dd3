#pragma once

namespace zolvex {

/// The one function that the application module exports.
using ApplicationEntry = int(int argc, char** argv);
inline constexpr const char* applicationEntryName = "zolvexRunApplication";

}  // namespace zolvex
