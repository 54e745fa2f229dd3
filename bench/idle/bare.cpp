#include <QCoreApplication>
#include <QDBusConnection>

#include <cstdio>

/// The least that a background program on the two buses can be: what Qt itself costs.
int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const auto session = QDBusConnection::sessionBus();
  const auto system = QDBusConnection::systemBus();
  std::fputs(session.isConnected() && system.isConnected() ? "ready\n" : "no bus\n", stderr);
  return QCoreApplication::exec();
}
