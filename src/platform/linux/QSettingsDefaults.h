#pragma once

#include "core/MainQueue.h"
#include "core/UserDefaults.h"

#include <QFileSystemWatcher>
#include <QSettings>

#include <string>

namespace zolvex {

/// The settings in one JSON file that people may read and edit. Changes are written at once and atomically (mode
/// 0600); keys and types that are not ours stay as they are. Changes by others are noticed and told.
/// A file that is no JSON object is never overwritten: it is kept aside as "NAME.damaged-TIME", at the start at once,
/// later (when somebody may still be editing it) just before the next write; until then the last good settings hold.
/// Where the file cannot be written, the settings live in memory. Only a flood of changes, as when somebody
/// sends one command after the other, shares writes.
/// Main thread.
class QSettingsDefaults final : public UserDefaults {
 public:
  /// A change is looked at when the file has been quiet for so long: editors write in several steps.
  static constexpr Seconds settleTime{0.1};

  /// So many changes are written at once in a period; those that follow share one write at its end.
  static constexpr int writesPerPeriod = 16;
  static constexpr Seconds writePeriod{0.5};

  /// Makes the file's directory (mode 0700) when it is missing.
  QSettingsDefaults(MainQueue& mainQueue, std::string path);
  ~QSettingsDefaults() override;

  /// "settings.json" in the configuration directory.
  static std::string standardPath();

  std::optional<DefaultsValue> stored(std::string_view key) const override;
  void set(std::string_view key, DefaultsValue value) override;
  void remove(std::string_view key) override;

 private:
  const QString& prepared() const;
  void makeDirectory() const;
  bool isDamaged() const;
  void keepAside() const;
  void removeStaleLock() const;
  void change(const QString& key, const QVariant& value);
  void recoverBeforeWriting();
  void write();
  void sync();
  void periodEnded();
  void watch();
  void somethingMoved();
  void lookAgain();
  QVariantMap readAll() const;

  MainQueue& mainQueue_;
  const QString path_;
  QSettings settings_;
  QVariantMap lastGood_;  // what is read: the file as it last was good, and what is still to be written
  QVariantMap unsaved_;   // to be written when the period ends; an invalid value is a removal
  int writesInPeriod_ = 0;
  WorkItem period_;
  bool problemLogged_ = false;
  WorkItem settle_;
  QFileSystemWatcher watcher_;
};

}  // namespace zolvex
