#pragma once

#include "core/LocalHostName.h"
#include "core/Published.h"

#include <QObject>

#include <string>

namespace zolvex {

class BusLink;

/// The names of this computer: the pretty one from org.freedesktop.hostname1, asked for when the system bus or the
/// service comes and whenever the name changes, remembered in between; the plain one from the kernel. Main thread.
class HostName1 final : public QObject, public LocalHostName {
  Q_OBJECT

 public:
  /// Before the link is started. The link must outlive this.
  explicit HostName1(BusLink& systemBus);

  std::optional<std::string> localizedName() const override { return prettyName_; }
  std::optional<std::string> name() const override;

 private:
  void busArrived();
  void answered(const QString& prettyName);

 private Q_SLOTS:
  void ask();
  void ownerChanged(const QString& name, const QString& before, const QString& now);

 private:
  BusLink& systemBus_;
  std::optional<std::string> prettyName_;
  Subscription arrival_;
};

}  // namespace zolvex
