#pragma once

#include "core/MainQueue.h"
#include "core/UserDefaults.h"
#include "platform/linux/SettingsFile.h"

#include <QFileSystemWatcher>
#include <QJsonObject>
#include <QMap>
#include <QStringList>

#include <chrono>
#include <optional>
#include <string>

namespace zolvex {

/// The settings in one JSON file that people may read and edit. A change goes into the file as it is at that moment,
/// at once and atomically (mode 0600); all other values stay as they are, also those of unknown keys and wrong types.
/// Changes by others are noticed and told.
/// A file that cannot be used stays as it is until the user changes a setting, and is then kept aside as
/// "NAME.damaged-TIME"; until then the last good settings hold, or the defaults. Where the file cannot be written,
/// changes count until the process ends. Each of these, and which values have wrong types, is logged once. What
/// somebody else changes in the file goes before what the program has noted meanwhile. Only a flood of changes, as when
/// somebody sends one command after the other, shares writes. Main thread.
class FileUserDefaults final : public UserDefaults {
 public:
  /// A change is looked at when the file has been quiet for so long: editors write in several steps.
  static constexpr Seconds settleTime{0.1};

  /// So many changes are written at once in a period; those that follow share one write at its end.
  static constexpr int writesPerPeriod = 16;
  static constexpr Seconds writePeriod{0.5};

  /// What is noted eventually is written no later than this. Each write costs the disk several waits.
  static constexpr Seconds eventually = std::chrono::minutes(15);

  /// Makes the file's directory (mode 0700) when it is missing.
  FileUserDefaults(MainQueue& mainQueue, std::string path);
  ~FileUserDefaults() override;

  /// "settings.json" in the configuration directory.
  static std::string standardPath();

  /// Whether what the file holds is known. False while it cannot be used: then what is absent may be in it all the
  /// same.
  bool isFileUsable() const { return isUsable_; }

  std::optional<DefaultsValue> stored(std::string_view key) const override;
  void set(std::string_view key, DefaultsValue value) override;
  void note(std::string_view key, DefaultsValue value) override;
  void noteEventually(std::string_view key, DefaultsValue value) override;
  void remove(std::string_view key) override;
  std::optional<std::string> persistenceProblem() const override { return failure_; }
  std::optional<std::string> removePersistentDomain() override;

 private:
  enum class By { program, user };

  struct Unsaved {
    QJsonValue value;  ///< Undefined for a removal.
    By by;
  };

  using Clock = std::chrono::steady_clock;

  void change(const QString& key, const QJsonValue& value, By by);
  void keep(const QString& key, const QJsonValue& value, By by);
  bool hasUserChange() const;
  bool mayWriteNow();
  void write();
  bool makeRoom(const SettingsFile::Unusable& found);
  void written(const FileFailure& failure);
  void writeTheRestAfter(Seconds delay);

  void watch();
  void somethingMoved();
  bool holdsWhatIsInForce() const;
  void lookAgain();
  void adopt(const QJsonObject& found);
  void takeOver(const QJsonObject& found);

  void tellUnusable(const SettingsFile::Unusable& found);
  void tellMistyped();
  QJsonObject withUnsaved(QJsonObject settings) const;

  MainQueue& mainQueue_;
  const SettingsFile file_;
  QJsonObject inFile_;   // as it last was good
  QJsonObject inForce_;  // what is read: that, and what is not in it yet
  QMap<QString, Unsaved> unsaved_;
  bool isUsable_ = true;    // the file, when it was last looked at
  bool isRemoved_ = false;  // for good; nothing is written any more
  FileFailure failure_;     // of the last attempt to write
  bool isWatchFailing_ = false;
  QStringList mistyped_;  // keys in the file with a value of a wrong type; all have been told of
  Clock::time_point periodEnd_{};
  int writesInPeriod_ = 0;
  std::optional<WorkItem> rest_;    // while changes wait to be written
  std::optional<WorkItem> settle_;  // while the file is to be looked at
  QFileSystemWatcher watcher_;
};

}  // namespace zolvex
