#include "lab/session/Inhibitors.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const QStringList knownWords{u"shutdown"_s,
                             u"sleep"_s,
                             u"idle"_s,
                             u"handle-power-key"_s,
                             u"handle-suspend-key"_s,
                             u"handle-hibernate-key"_s,
                             u"handle-lid-switch"_s,
                             u"handle-reboot-key"_s};

}  // namespace

struct Inhibitors::Lock {
  Lock(Inhibitor taken, int end) : inhibitor(std::move(taken)), readEnd(end), notifier(end, QSocketNotifier::Read) {}
  ~Lock() {
    notifier.setEnabled(false);
    close(readEnd);
  }
  Lock(const Lock&) = delete;

  bool isReleased() const {
    pollfd state{readEnd, POLLIN, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & POLLHUP) != 0;
  }

  Inhibitor inhibitor;
  int readEnd;
  QSocketNotifier notifier;
};

Inhibitors::Inhibitors() = default;
Inhibitors::~Inhibitors() = default;

int Inhibitors::take(const Inhibitor& inhibitor) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return -1;
  const auto& lock = locks_.emplace_back(std::make_unique<Lock>(inhibitor, ends[0]));
  // Queued, because the notifier must not be destroyed by its own signal.
  connect(&lock->notifier, &QSocketNotifier::activated, this, &Inhibitors::dropReleased, Qt::QueuedConnection);
  Q_EMIT changed();
  return ends[1];
}

void Inhibitors::dropReleased() {
  const auto dropped = std::erase_if(locks_, [](const auto& lock) { return lock->isReleased(); });
  if (dropped > 0) Q_EMIT changed();
}

std::vector<Inhibitor> Inhibitors::all() const {
  std::vector<Inhibitor> all;
  for (const auto& lock : locks_) all.push_back(lock->inhibitor);
  return all;
}

bool Inhibitors::isInhibited(const QString& what, const QString& mode) const {
  return std::ranges::any_of(locks_, [&](const auto& lock) {
    return lock->inhibitor.mode == mode && lock->inhibitor.what.split(u':').contains(what);
  });
}

QString Inhibitors::inhibitedBy(const QString& mode) const {
  QStringList words;
  for (const auto& word : knownWords)
    if (isInhibited(word, mode)) words.append(word);
  return words.join(u':');
}

bool Inhibitors::isKnown(const QString& what) {
  return std::ranges::all_of(what.split(u':'), [](const QString& word) { return knownWords.contains(word); });
}

}  // namespace zolvex::lab
