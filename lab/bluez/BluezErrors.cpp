#include "lab/bluez/BluezErrors.h"

namespace zolvex::lab {

void fail(const BusCall& call, const bluezError::Error& error) {
  call.fail(QLatin1String(error.name), QLatin1String(error.text));
}

}  // namespace zolvex::lab
