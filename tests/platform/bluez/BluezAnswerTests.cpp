#include "bluetooth/worker/BluetoothClassicController.h"
#include "platform/linux/BluezAnswer.h"

#include <gtest/gtest.h>

namespace zolvex {
namespace {

std::int32_t statusOf(const char* name, const char* text = "") {
  return BluezAnswer{.errorName = name, .errorText = text}.ioReturnStatus();
}

TEST(BluezAnswer, errorsBecomeTheStatusNumbersOfTheWorkersOutput) {
  EXPECT_EQ(statusOf("org.bluez.Error.InProgress"), ioReturn::busy);
  EXPECT_EQ(statusOf("org.bluez.Error.ConnectionAttemptFailed", "Page Timeout"), ioReturn::timeout);
  EXPECT_EQ(statusOf("org.bluez.Error.AuthenticationTimeout"), ioReturn::timeout);
  EXPECT_EQ(statusOf("org.freedesktop.DBus.Error.NoReply"), ioReturn::timeout);
  EXPECT_EQ(statusOf("org.bluez.Error.AuthenticationFailed"), ioReturn::notPermitted);
  EXPECT_EQ(statusOf("org.bluez.Error.AuthenticationRejected"), ioReturn::notPermitted);
  EXPECT_EQ(statusOf("org.bluez.Error.AuthenticationCanceled"), ioReturn::aborted);
  EXPECT_EQ(statusOf("org.bluez.Error.DoesNotExist"), ioReturn::noDevice);
  EXPECT_EQ(statusOf("org.bluez.Error.NotReady"), ioReturn::noDevice);
  EXPECT_EQ(statusOf("org.freedesktop.DBus.Error.UnknownObject"), ioReturn::noDevice);
}

TEST(BluezAnswer, generalErrorsAreToldApartByTheirText) {
  EXPECT_EQ(statusOf("org.bluez.Error.Failed", "br-connection-page-timeout"), ioReturn::timeout);
  EXPECT_EQ(statusOf("org.bluez.Error.Failed", "br-connection-busy"), ioReturn::busy);
  EXPECT_EQ(statusOf("org.bluez.Error.Failed", "br-connection-canceled"), ioReturn::aborted);
  EXPECT_EQ(statusOf("org.bluez.Error.Failed", "br-connection-aborted-by-remote"), ioReturn::aborted);
  EXPECT_EQ(statusOf("org.bluez.Error.Failed", "br-connection-create-socket"), ioReturn::error);
  EXPECT_EQ(statusOf("org.bluez.Error.NotAvailable", "br-connection-profile-unavailable"), ioReturn::error);
  EXPECT_EQ(statusOf("com.example.Unheard", ""), ioReturn::error);
}

TEST(BluezAnswer, noAnswerIsATimeout) {
  EXPECT_EQ(BluezAnswer{}.ioReturnStatus(), ioReturn::timeout);
  EXPECT_TRUE(BluezAnswer{}.isMissing());
  EXPECT_TRUE(BluezAnswer{.errorName = "org.freedesktop.DBus.Error.NoReply"}.isMissing());
  EXPECT_FALSE(BluezAnswer{.errorName = "org.bluez.Error.Failed"}.isMissing());
}

}  // namespace
}  // namespace zolvex
