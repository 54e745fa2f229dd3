#pragma once

#include <QStringList>

namespace zolvex::lab {

/// Process ids, as seen here, of the first processes of all worlds that run on this machine, by which exec and ctl take
/// a world. Lists none of those that belong to other users.
QStringList runningWorlds();

}  // namespace zolvex::lab
