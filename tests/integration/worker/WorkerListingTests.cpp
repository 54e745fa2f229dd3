#include "bluetooth/PairedDevicePayload.h"
#include "integration/worker/WorkerLab.h"
#include "support/EventLoop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <gmock/gmock.h>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

class WorkerListing : public WorkerLab {
 protected:
  std::vector<PairedDevicePayload> devices() {
    const auto result = list();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.error, "");
    auto decoded = decodePairedDevices(result.output.toStdString());
    EXPECT_TRUE(std::holds_alternative<std::vector<PairedDevicePayload>>(decoded)) << result.output.toStdString();
    return std::get<std::vector<PairedDevicePayload>>(std::move(decoded));
  }
  void rename(const QString& device, const QString& alias) {
    auto connection = QDBusConnection::connectToBus(bus.address(), u"renaming"_s);
    auto call =
        QDBusMessage::createMethodCall(u"org.bluez"_s, pathOf(device), u"org.freedesktop.DBus.Properties"_s, u"Set"_s);
    call.setArguments({u"org.bluez.Device1"_s, u"Alias"_s, QVariant::fromValue(QDBusVariant(alias))});
    {
      const QDBusPendingCallWatcher watcher(connection.asyncCall(call));
      EXPECT_TRUE(runUntil([&] { return watcher.isFinished(); }));
      EXPECT_FALSE(watcher.isError()) << watcher.error().message().toStdString();
    }
    QDBusConnection::disconnectFromBus(u"renaming"_s);
  }
  QString pathOf(const QString& device) const {
    return u"/org/bluez/hci0/dev_"_s + radio.addressOf(device).replace(u':', u'_');
  }
};

TEST_F(WorkerListing, listsThePairedDevicesInTheOrderOfTheirObjects) {
  bond(mouse);
  bond(keyboard);
  radio.openLink(laptop, radio.addressOf(mouse));
  EXPECT_THAT(devices(), testing::ElementsAre(PairedDevicePayload{"02-5A-00-00-00-01", "Magic Keyboard", false},
                                              PairedDevicePayload{"02-5A-00-00-00-03", "Magic Mouse", true}));
}

TEST_F(WorkerListing, prefersTheNameThatTheUserHasGiven) {
  bond(keyboard);
  rename(keyboard, u"  Zo\u00eb's \"keys\" "_s);
  EXPECT_THAT(devices(), testing::ElementsAre(PairedDevicePayload{"02-5A-00-00-00-01", "Zo\u00eb's \"keys\"", false}));
}

TEST_F(WorkerListing, theAliasThatBluezMakesOfTheAddressIsNoName) {
  bond(keyboard);
  rename(keyboard, radio.addressOf(keyboard).replace(u':', u'-'));
  EXPECT_THAT(devices(), testing::ElementsAre(PairedDevicePayload{"02-5A-00-00-00-01", "Magic Keyboard", false}));
}

TEST_F(WorkerListing, withoutPairedDevicesItIsAnEmptyArray) {
  EXPECT_EQ(list().output, "[]");
}

TEST_F(WorkerListing, devicesOfAnotherComputerAreNotListed) {
  radio.bond(u"Studio"_s, radio.addressOf(mouse));
  EXPECT_EQ(list().output, "[]");
}

TEST_F(WorkerListing, listsWhileTheAdapterIsOff) {
  bond(mouse);
  inject(u"adapter-off"_s);
  EXPECT_THAT(devices(), testing::ElementsAre(PairedDevicePayload{"02-5A-00-00-00-03", "Magic Mouse", false}));
}

TEST_F(WorkerListing, withoutBlueZItIsEmpty) {
  inject(u"daemon-absent"_s);
  EXPECT_THAT(devices(), testing::IsEmpty());
}

TEST_F(WorkerListing, withoutAnAdapterItIsEmpty) {
  bond(mouse);
  inject(u"adapter-unplugged"_s);
  EXPECT_THAT(devices(), testing::IsEmpty());
}

TEST_F(WorkerListing, withoutABusItIsEmpty) {
  bus.stop();
  EXPECT_THAT(devices(), testing::IsEmpty());
}

TEST_F(WorkerListing, costsBlueZOneCall) {
  bond(mouse);
  list();
  EXPECT_EQ(answered, QStringList{u"GetManagedObjects"_s});
}

// The parent takes any text there for a failure.
TEST_F(WorkerListing, nothingIsWrittenToStandardErrorInAnyLocale) {
  bond(mouse);
  for (const auto& locale : {u"C"_s, u"POSIX"_s, u"xx_YY.ISO-8859-1"_s}) {
    environment.insert(u"LC_ALL"_s, locale);
    EXPECT_THAT(devices(), testing::SizeIs(1)) << locale.toStdString();
    EXPECT_EQ(connect(mouse).error, "") << locale.toStdString();
  }
}

class WorkerAdapterChoice : public WorkerListing {
 protected:
  std::size_t countWith(const QString& adapter) {
    environment.insert(u"ZOLVEX_ADAPTER"_s, adapter);
    return devices().size();
  }
};

TEST_F(WorkerAdapterChoice, takesTheAddressInAnyNotation) {
  bond(mouse);
  const auto address = bluez->identity().adapterAddress;
  EXPECT_EQ(countWith(address), 1u);
  EXPECT_EQ(countWith(address.toLower()), 1u);
  EXPECT_EQ(countWith(QString(address).replace(u':', u'-')), 1u);
  EXPECT_EQ(countWith({}), 1u);
}

TEST_F(WorkerAdapterChoice, anAdapterThatIsNotThereIsNotReplacedByAnother) {
  bond(mouse);
  EXPECT_EQ(countWith(u"11:22:33:44:55:66"_s), 0u);
  EXPECT_EQ(countWith(u"hci0"_s), 0u);
  EXPECT_EQ(connect(mouse).exitStatus, 69);
}

}  // namespace
}  // namespace zolvex::test
