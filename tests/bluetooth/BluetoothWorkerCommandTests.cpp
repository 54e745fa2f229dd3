#include "bluetooth/BluetoothWorkerCommand.h"

#include <gtest/gtest.h>

namespace zolvex {
namespace {

using enum BluetoothWorkerCommand;

TEST(BluetoothWorkerCommand, hasItsLiterals) {
  EXPECT_EQ(literalOf(connect), "connect");
  EXPECT_EQ(literalOf(listPaired), "listPaired");
  EXPECT_EQ(literalOf(unregister), "unregister");
}

TEST(BluetoothWorkerCommand, everyLiteralIsReadBack) {
  for (const auto command : {connect, listPaired, unregister})
    EXPECT_EQ(workerCommandFromLiteral(literalOf(command)), command);
}

TEST(BluetoothWorkerCommand, keepsItsOrdinals) {
  EXPECT_EQ(static_cast<int>(connect), 0);
  EXPECT_EQ(static_cast<int>(listPaired), 1);
  EXPECT_EQ(static_cast<int>(unregister), 2);
}

TEST(BluetoothWorkerCommand, anythingElseIsNone) {
  for (const auto* text : {"", "CONNECT", "Connect", "listpaired", " connect", "connect\n", "connect unregister",
                           "--zolvex-bluetooth-worker"})
    EXPECT_EQ(workerCommandFromLiteral(text), std::nullopt) << '"' << text << '"';
}

TEST(BluetoothWorkerCommand, theFlagIsTheOneThatSelectsWorkerMode) {
  EXPECT_EQ(workerFlag, "--zolvex-bluetooth-worker");
}

}  // namespace
}  // namespace zolvex
