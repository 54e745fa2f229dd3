#include "ui/accessibility/ScreenReader.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

/// Where distributions put it.
QString launcherProgram() {
  for (const auto& folder : {u"/usr/libexec/"_s, u"/usr/lib/at-spi2-core/"_s, u"/usr/lib/"_s})
    if (const auto path = folder + u"at-spi-bus-launcher"_s; QFileInfo(path).isExecutable()) return path;
  return {};
}

}  // namespace

std::string ScreenReader::reasonAgainst() {
  return launcherProgram().isEmpty() ? "at-spi-bus-launcher is not installed (Debian package at-spi2-core)" : "";
}

ScreenReader::~ScreenReader() {
  tree_.reset();
  if (!launcher_) return;
  launcher_->terminate();  // and with it the processes that it has started
  (void)launcher_->hasEnded();
}

bool ScreenReader::start(const QString& sessionBus, ProgramRun::Variables variables) {
  variables.emplace_back(u"DBUS_SESSION_BUS_ADDRESS"_s, sessionBus);
  variables.emplace_back(u"GSETTINGS_BACKEND"_s, u"memory"_s);
  launcher_.emplace(launcherProgram(), QStringList{u"--launch-immediately"_s, u"--a11y=1"_s, u"--screen-reader=1"_s},
                    variables);
  return runUntil([&] {
    tree_ = std::make_unique<AccessibleTree>(sessionBus);
    return tree_->isConnected();
  });
}

std::optional<QRect> ScreenReader::control(const QString& name) const {
  for (const auto& one : tree_->read())
    if (one.name == name && one.isControl()) return tree_->placeOf(one);
  return std::nullopt;
}

bool ScreenReader::tells(const QString& text) const {
  const auto all = tree_->read();
  return std::any_of(all.begin(), all.end(),
                     [&](const Accessible& one) { return one.name == text || one.description == text; });
}

QString ScreenReader::described() const {
  QStringList lines;
  for (const auto& one : tree_->read())
    lines.append(u"role %1 \"%2\", \"%3\""_s.arg(one.role).arg(one.name, one.description));
  return lines.join(u'\n');
}

}  // namespace zolvex::test
