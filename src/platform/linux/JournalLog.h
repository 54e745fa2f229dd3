#pragma once

#include "core/Log.h"

#include <string>

namespace zolvex {

/// The sink of a program that may run as a service: the system journal with its fields (SUBSYSTEM, CATEGORY, PRIORITY)
/// when standard error is connected to it, else standard error.
LogSink journalOrStandardError();

/// A sink that sends to the journal's socket at `socketPath`. A record that cannot be sent goes to standard error.
LogSink journalSink(const std::string& socketPath);

}  // namespace zolvex
