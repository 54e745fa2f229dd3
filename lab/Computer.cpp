#include "lab/Computer.h"

namespace zolvex::lab {

using namespace Qt::StringLiterals;

Computer::Computer(Radio& radio, const QString& name, BluezTiming timing)
    : bluez_(radio, {name, radio.adapterAddressFor(name), timing}) {}

Computer::~Computer() {
  stop();
}

bool Computer::start() {
  return bus_.start() && bluez_.start(bus_.address());
}

void Computer::stop() {
  bluez_.stop();
  bus_.stop();
}

QProcessEnvironment Computer::environment() const {
  auto environment = QProcessEnvironment::systemEnvironment();
  environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, bus_.address());
  return environment;
}

}  // namespace zolvex::lab
