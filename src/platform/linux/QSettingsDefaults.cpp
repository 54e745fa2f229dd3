#include "platform/linux/QSettingsDefaults.h"

#include "core/Log.h"
#include "platform/linux/ConfigDirectory.h"
#include "platform/linux/SettingsFormat.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("Settings");
constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

QString qString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Carries changes out; an invalid value is a removal.
void apply(const QVariantMap& changes, QVariantMap& settings) {
  for (auto item = changes.begin(); item != changes.end(); ++item) {
    if (item->isValid())
      settings.insert(item.key(), *item);
    else
      settings.remove(item.key());
  }
}

QString unusedName(const QString& wanted) {
  auto name = wanted;
  for (int i = 2; QFile::exists(name); ++i) name = u"%1-%2"_s.arg(wanted).arg(i);
  return name;
}

}  // namespace

QSettingsDefaults::QSettingsDefaults(MainQueue& mainQueue, std::string path)
    : mainQueue_(mainQueue), path_(QString::fromStdString(path)), settings_(prepared(), settingsFormat::jsonFormat()) {
  if (QFile::exists(path_)) QFile::setPermissions(path_, ownerOnly);
  lastGood_ = readAll();
  QObject::connect(&watcher_, &QFileSystemWatcher::fileChanged, &watcher_, [this] { somethingMoved(); });
  QObject::connect(&watcher_, &QFileSystemWatcher::directoryChanged, &watcher_, [this] { somethingMoved(); });
  watch();
}

QSettingsDefaults::~QSettingsDefaults() {
  if (!unsaved_.isEmpty()) write();
}

std::string QSettingsDefaults::standardPath() {
  return configDirectory() + "/settings.json";
}

const QString& QSettingsDefaults::prepared() const {
  makeDirectory();
  if (isDamaged()) keepAside();
  removeStaleLock();
  return path_;
}

/// Only one Zolvex of a user runs, so a lock that is there before its first write was left behind by a crash. QSettings
/// would wait half a minute for its owner.
void QSettingsDefaults::removeStaleLock() const {
  QFile::remove(path_ + u".lock"_s);
}

void QSettingsDefaults::makeDirectory() const {
  const auto directory = QFileInfo(path_).absolutePath();
  if (QFileInfo(directory).isDir()) return;
  QDir().mkpath(QFileInfo(directory).absolutePath());
  if (mkdir(QFile::encodeName(directory).constData(), S_IRWXU) != 0)
    logger.error("cannot make the settings directory {}", directory.toStdString());
}

bool QSettingsDefaults::isDamaged() const {
  const QFileInfo info(path_);
  if (info.exists() && !info.isFile() && !info.isDir()) return true;  // a pipe, say, which nobody may ever write to
  QFile file(path_);
  return file.open(QIODevice::ReadOnly) && !settingsFormat::parse(file.readAll());
}

void QSettingsDefaults::keepAside() const {
  const auto time = QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
  const auto aside = unusedName(u"%1.damaged-%2"_s.arg(path_, time));
  if (QFile::rename(path_, aside))
    logger.error("the settings file is no JSON object; it is kept as {}", aside.toStdString());
  else
    logger.error("the settings file {} is no JSON object and cannot be kept aside", path_.toStdString());
}

std::optional<DefaultsValue> QSettingsDefaults::stored(std::string_view key) const {
  const auto found = lastGood_.find(qString(key));
  return found == lastGood_.end() ? std::nullopt : std::optional(settingsFormat::fromVariant(*found));
}

void QSettingsDefaults::set(std::string_view key, DefaultsValue value) {
  change(qString(key), settingsFormat::toVariant(value));
}

void QSettingsDefaults::remove(std::string_view key) {
  if (lastGood_.contains(qString(key))) change(qString(key), {});
}

void QSettingsDefaults::change(const QString& key, const QVariant& value) {
  unsaved_.insert(key, value);
  apply(unsaved_, lastGood_);
  if (writesInPeriod_ < writesPerPeriod) write();
  changed.emit();
}

void QSettingsDefaults::recoverBeforeWriting() {
  if (!isDamaged()) return;
  keepAside();
  for (auto item = lastGood_.begin(); item != lastGood_.end(); ++item) settings_.setValue(item.key(), item.value());
}

void QSettingsDefaults::write() {
  recoverBeforeWriting();
  for (auto item = unsaved_.begin(); item != unsaved_.end(); ++item)
    item->isValid() ? settings_.setValue(item.key(), *item) : settings_.remove(item.key());
  unsaved_.clear();
  sync();
  if (writesInPeriod_++ == 0) period_ = mainQueue_.after(writePeriod, [this] { periodEnded(); });
}

void QSettingsDefaults::periodEnded() {
  writesInPeriod_ = 0;
  if (!unsaved_.isEmpty()) write();
}

void QSettingsDefaults::sync() {
  // A new file must not be readable to others even for a moment.
  if (const int file = open(QFile::encodeName(path_).constData(), O_CREAT | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
      file >= 0)
    close(file);
  settings_.sync();
  const bool failed = settings_.status() != QSettings::NoError;
  if (failed && !std::exchange(problemLogged_, true))
    logger.error("cannot write the settings to {}; they are kept in memory", path_.toStdString());
  if (!failed) problemLogged_ = false;
  lastGood_ = readAll();
  watch();
}

void QSettingsDefaults::watch() {
  // Replacing the file ends the watch on it; what is watched already is left alone.
  for (const auto& path : {path_, QFileInfo(path_).absolutePath()})
    if (QFile::exists(path) && !watcher_.files().contains(path) && !watcher_.directories().contains(path))
      watcher_.addPath(path);
}

void QSettingsDefaults::somethingMoved() {
  watch();
  settle_ = mainQueue_.after(settleTime, [this] { lookAgain(); });
}

void QSettingsDefaults::lookAgain() {
  if (isDamaged()) {
    if (!std::exchange(problemLogged_, true))
      logger.error("the settings file is no JSON object; the last good settings stay in use");
    return;
  }
  settings_.sync();
  auto found = readAll();
  if (found == lastGood_) return;
  problemLogged_ = false;
  lastGood_ = std::move(found);
  changed.emit();
}

QVariantMap QSettingsDefaults::readAll() const {
  QVariantMap all;
  for (const auto& key : settings_.allKeys())
    if (!key.isEmpty()) all.insert(key, settings_.value(key));
  apply(unsaved_, all);
  return all;
}

}  // namespace zolvex
