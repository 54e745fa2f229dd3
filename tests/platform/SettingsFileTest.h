#pragma once

#include "platform/linux/FileUserDefaults.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace zolvex::test {

/// Settings in a directory of their own.
struct SettingsFileTest : testing::Test {
  QString folder() const { return directory.filePath(QStringLiteral("zolvex")); }
  QString path() const { return folder() + QStringLiteral("/settings.json"); }
  void open() {
    defaults.emplace(queue, path().toStdString());
    subscription = defaults->changed.observe([this] { ++changes; });
  }
  void reopen() {
    defaults.reset();
    open();
  }
  void writeFile(const QByteArray& bytes) {
    QDir().mkpath(folder());
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
  }
  static QByteArray bytesOf(const QString& name) {
    QFile file(name);
    return QFileInfo(name).isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  QByteArray fileBytes() const { return bytesOf(path()); }
  QJsonObject json() const { return QJsonDocument::fromJson(fileBytes()).object(); }
  static mode_t modeOf(const QString& name) {
    struct stat status {};
    return stat(QFile::encodeName(name).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
  }
  mode_t mode() const { return modeOf(path()); }
  void setMode(mode_t mode) const { chmod(QFile::encodeName(path()).constData(), mode); }
  std::string wrongTypesLine(const std::string& keys) const {
    return "in the settings file " + path().toStdString() + " these have a wrong type and count as not set: " + keys;
  }
  QStringList keptAside() const {
    return QDir(folder()).entryList({QStringLiteral("settings.json.damaged-*")}, QDir::AllEntries | QDir::System);
  }

  LogCapture log;
  QTemporaryDir directory;
  QtMainQueue queue;
  std::optional<FileUserDefaults> defaults;
  Subscription subscription;
  int changes = 0;
};

/// Gives up root's right to everything while it lives, where the test has it. `directory` goes to the ordinary user.
class AsOrdinaryUser {
 public:
  explicit AsOrdinaryUser(const QString& directory) {
    if (!isRoot_) return;
    [[maybe_unused]] const int given = chown(QFile::encodeName(directory).constData(), nobody, nobody);
    isDone_ = seteuid(nobody) == 0;
  }
  ~AsOrdinaryUser() {
    if (isRoot_) isDone_ = seteuid(0) == 0;
  }
  AsOrdinaryUser(const AsOrdinaryUser&) = delete;

  bool isDone() const { return isDone_; }

 private:
  static constexpr uid_t nobody = 65534;
  const bool isRoot_ = geteuid() == 0;
  bool isDone_ = !isRoot_;
};

}  // namespace zolvex::test
