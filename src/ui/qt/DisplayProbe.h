#pragma once

#include <QString>

namespace zolvex {

/// The platform of Qt on which windows can be opened here, by its name: that of a display which answers and which the
/// installed Qt can talk to. Empty when there is none; Qt would end the process. Blocks until the display answers.
QString usablePlatform();

}  // namespace zolvex
