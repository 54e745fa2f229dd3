#include "ControlWorld.h"

#include "control/ControlNames.h"

#include <QDBusConnectionInterface>

namespace zolvex::test {

bool ControlWorld::isNameTaken() {
  return link.connection().interface()->isServiceRegistered(control::serviceName).value();
}

}  // namespace zolvex::test
