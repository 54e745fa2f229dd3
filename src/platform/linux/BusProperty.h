#pragma once

#include "core/Lifetime.h"
#include "core/Published.h"

#include <QDBusMessage>
#include <QString>
#include <QVariant>

#include <functional>

namespace zolvex {

class BusService;

/// One property of an object of a bus service: asked for when the service is there, followed by its change signals.
/// A service sends answers and signals in the order in which things happen to it, so the last word counts.
/// The service must outlive it. Main thread.
class BusProperty {
 public:
  struct Name {
    QString path, interface, property;
  };
  struct Events {
    std::function<void(const QVariant& value)> found;    ///< The answer to our question.
    std::function<void(const QVariant& value)> changed;  ///< What the service told of its own accord.
    std::function<void()> lost;                          ///< The service is not there, or does not know the property.
  };

  /// No event comes before the constructor has returned.
  BusProperty(BusService& service, Name name, Events events);
  BusProperty(const BusProperty&) = delete;

 private:
  void ask();
  void answered(const QDBusMessage& reply);
  void propertiesChanged(const QDBusMessage& signal);

  BusService& service_;
  const Name name_;
  const Events events_;
  Subscription appearance_;
  Subscription absence_;
  Subscription changes_;
  Lifetime lifetime_;
};

}  // namespace zolvex
