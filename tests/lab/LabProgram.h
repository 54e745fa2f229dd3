#pragma once

#include "lab/ProgramRun.h"

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <chrono>

namespace zolvex::lab {

/// Runs zolvex-lab with a mark in its environment and an empty directory for temporary files, so that whatever it
/// leaves behind can be found.
class LabProgram : public testing::Test {
 protected:
  static constexpr std::chrono::milliseconds limit{90'000};

  LabProgram();
  void SetUp() override;

  ProgramRun lab(const QStringList& arguments, std::chrono::milliseconds timeLimit = limit) const;
  ProgramRun labOfOrdinaryUser(const QStringList& arguments);

  bool leftNothingBehind() const;
  int processesWithMark() const;
  static QByteArray lastLineOf(const ProgramRun& run) { return run.output.trimmed().split('\n').last(); }

  QStringList zolvex_{QStringLiteral("--zolvex"), QStringLiteral(ZOLVEX_PROGRAM)};
  QString mark_;
  QTemporaryDir directory_;
  QProcessEnvironment environment_ = QProcessEnvironment::systemEnvironment();
};

}  // namespace zolvex::lab
