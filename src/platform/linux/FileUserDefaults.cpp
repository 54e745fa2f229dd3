#include "platform/linux/FileUserDefaults.h"

#include "core/Log.h"
#include "core/SettingsTypes.h"
#include "platform/linux/ConfigDirectory.h"
#include "platform/linux/SettingsFormat.h"

#include <QFileInfo>

#include <algorithm>
#include <iterator>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Settings");

QString qString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

bool isTyped(const QString& key, const QJsonValue& value) {
  return hasItsType(key.toStdString(), settingsFormat::fromJson(value));
}

}  // namespace

FileUserDefaults::FileUserDefaults(MainQueue& mainQueue, std::string path)
    : mainQueue_(mainQueue), file_(std::move(path)) {
  file_.prepare();
  auto found = file_.read();
  if (const auto* unusable = std::get_if<SettingsFile::Unusable>(&found)) tellUnusable(*unusable);
  if (const auto* settings = std::get_if<QJsonObject>(&found)) takeOver(*settings);
  QObject::connect(&watcher_, &QFileSystemWatcher::fileChanged, &watcher_, [this] { somethingMoved(); });
  QObject::connect(&watcher_, &QFileSystemWatcher::directoryChanged, &watcher_, [this] { somethingMoved(); });
  watch();
}

FileUserDefaults::~FileUserDefaults() {
  if (!unsaved_.isEmpty()) write();
}

std::string FileUserDefaults::standardPath() {
  return configDirectory() + "/settings.json";
}

std::optional<DefaultsValue> FileUserDefaults::stored(std::string_view key) const {
  const auto found = inForce_.find(qString(key));
  return found == inForce_.end() ? std::nullopt : std::optional(settingsFormat::fromJson(*found));
}

void FileUserDefaults::set(std::string_view key, DefaultsValue value) {
  change(qString(key), settingsFormat::toJson(value), By::user);
}

void FileUserDefaults::note(std::string_view key, DefaultsValue value) {
  change(qString(key), settingsFormat::toJson(value), By::program);
}

void FileUserDefaults::noteEventually(std::string_view key, DefaultsValue value) {
  keep(qString(key), settingsFormat::toJson(value), By::program);
  if (!rest_) writeTheRestAfter(eventually);
  changed.emit();
}

void FileUserDefaults::remove(std::string_view key) {
  if (inForce_.contains(qString(key))) change(qString(key), QJsonValue::Undefined, By::user);
}

void FileUserDefaults::change(const QString& key, const QJsonValue& value, By by) {
  keep(key, value, by);
  mayWriteNow() ? write() : writeTheRestAfter(periodEnd_ - Clock::now());
  changed.emit();
}

void FileUserDefaults::keep(const QString& key, const QJsonValue& value, By by) {
  const auto before = unsaved_.constFind(key);
  unsaved_.insert(key, {value, before == unsaved_.cend() ? by : std::max(by, before->by)});
  inForce_ = withUnsaved(std::move(inForce_));
}

bool FileUserDefaults::hasUserChange() const {
  return std::any_of(unsaved_.cbegin(), unsaved_.cend(), [](const auto& change) { return change.by == By::user; });
}

/// A period begins with its first write, and nobody is woken up at its end unless there is something left to write.
bool FileUserDefaults::mayWriteNow() {
  const auto now = Clock::now();
  if (now >= periodEnd_) {
    periodEnd_ = now + std::chrono::duration_cast<Clock::duration>(writePeriod);
    writesInPeriod_ = 0;
  }
  return writesInPeriod_++ < writesPerPeriod;
}

void FileUserDefaults::write() {
  const auto lock = file_.lock();
  auto found = file_.read();
  if (const auto* unusable = std::get_if<SettingsFile::Unusable>(&found); unusable && !makeRoom(*unusable)) return;
  // A missing file may be one that an editor is just about to replace: what it held is not given up.
  if (const auto* settings = std::get_if<QJsonObject>(&found)) takeOver(*settings);
  if (!isRemoved_) written(file_.write(inForce_));
}

/// Whether the file may be written now although it cannot be used as it is.
bool FileUserDefaults::makeRoom(const SettingsFile::Unusable& found) {
  tellUnusable(found);
  if (!hasUserChange()) return false;
  const auto aside = file_.keepAside();
  if (aside)
    logger.info("the unusable settings file is kept as {}", *aside);
  else
    written(fileFailure("rename", file_.path()));
  return aside.has_value();
}

void FileUserDefaults::written(const FileFailure& failure) {
  watch();
  const bool isFailing = std::exchange(failure_, failure).has_value();
  if (failure && !isFailing)
    logger.error("the settings cannot be saved, changes count until Zolvex ends: {}", *failure);
  if (failure) return;
  if (isFailing) logger.info("the settings can be saved again");
  isUsable_ = true;
  inFile_ = inForce_;
  unsaved_.clear();
  rest_.reset();
  tellMistyped();
}

void FileUserDefaults::writeTheRestAfter(Seconds delay) {
  rest_ = mainQueue_.after(delay, [this] {
    rest_.reset();
    const auto before = inForce_;
    write();
    if (inForce_ != before) changed.emit();
  });
}

void FileUserDefaults::watch() {
  // Replacing the file ends the watch on it; what is watched already is left alone.
  const auto file = QString::fromStdString(file_.path());
  const auto target = QString::fromStdString(file_.target());
  for (const auto& path : {file, QFileInfo(file).absolutePath(), QFileInfo(target).absolutePath()}) {
    if (watcher_.files().contains(path) || watcher_.directories().contains(path)) continue;
    if (!QFileInfo(path).isReadable()) continue;  // neither can a watch be set on it
    if (!watcher_.addPath(path) && path != file && !std::exchange(isWatchFailing_, true))
      logger.error("cannot watch {}; what others change there is noticed late", path.toStdString());
  }
}

void FileUserDefaults::somethingMoved() {
  watch();
  if (!settle_ && holdsWhatIsInForce()) return;  // mostly it was this object that has written
  settle_ = mainQueue_.after(settleTime, [this] { lookAgain(); });
}

/// Whatever is written later is told again, so that nothing is missed.
bool FileUserDefaults::holdsWhatIsInForce() const {
  if (!isUsable_ || !unsaved_.isEmpty()) return false;
  const auto found = file_.read();
  const auto* settings = std::get_if<QJsonObject>(&found);
  return settings && *settings == inForce_;
}

void FileUserDefaults::lookAgain() {
  settle_.reset();
  auto found = file_.read();
  if (const auto* unusable = std::get_if<SettingsFile::Unusable>(&found)) return tellUnusable(*unusable);
  const auto* settings = std::get_if<QJsonObject>(&found);
  adopt(settings ? *settings : QJsonObject());
}

void FileUserDefaults::adopt(const QJsonObject& found) {
  const auto before = inForce_;
  const bool wasUsable = std::exchange(isUsable_, true);
  takeOver(found);
  if (!wasUsable && !unsaved_.isEmpty()) write();
  if (inForce_ != before) changed.emit();
}

/// What somebody has changed in the file goes before what the program noted.
void FileUserDefaults::takeOver(const QJsonObject& found) {
  const auto isOverruled = [&](const auto& key, const Unsaved& note) {
    const auto value = found.constFind(key);
    return note.by == By::program && value != found.constEnd() && *value != inFile_.value(key) && isTyped(key, *value);
  };
  for (auto item = unsaved_.begin(); item != unsaved_.end();)
    item = isOverruled(item.key(), *item) ? unsaved_.erase(item) : std::next(item);
  inFile_ = found;
  inForce_ = withUnsaved(found);
  tellMistyped();
}

std::optional<std::string> FileUserDefaults::removePersistentDomain() {
  isRemoved_ = true;
  settle_ = {};
  if (const auto watched = watcher_.files() + watcher_.directories(); !watched.isEmpty()) watcher_.removePaths(watched);
  inFile_ = inForce_ = {};
  unsaved_.clear();
  auto failure = file_.remove();
  changed.emit();
  return failure;
}

void FileUserDefaults::tellUnusable(const SettingsFile::Unusable& found) {
  if (!std::exchange(isUsable_, false)) return;
  logger.error("the settings file {} {}; it stays as it is until a setting is changed, {}", file_.path(), found.why,
               inForce_.isEmpty() ? "the defaults are in force" : "the last good settings stay in force");
}

void FileUserDefaults::tellMistyped() {
  QStringList keys;
  for (auto item = inFile_.constBegin(); item != inFile_.constEnd(); ++item)
    if (!isTyped(item.key(), *item)) keys += item.key();
  const auto told = std::exchange(mistyped_, keys);
  if (std::all_of(keys.cbegin(), keys.cend(), [&](const auto& key) { return told.contains(key); })) return;
  logger.error("in the settings file {} these have a wrong type and count as not set: {}", file_.path(),
               keys.join(QStringLiteral(", ")).toStdString());
}

QJsonObject FileUserDefaults::withUnsaved(QJsonObject settings) const {
  for (auto item = unsaved_.begin(); item != unsaved_.end(); ++item) settings.insert(item.key(), item->value);
  return settings;
}

}  // namespace zolvex
