#pragma once

#include "peer/bonjour/DnsSd.h"

#include <optional>
#include <string>
#include <vector>

namespace zolvex::test {

/// Publishes nothing; the test plays the network by calling the listener.
class FakeServicePublisher final : public ServicePublisher {
 public:
  void publish(const Service& wanted, ServicePublicationListener& newListener) override {
    service = wanted;
    listener = &newListener;
    ++publications;
  }
  void updateTxtRecord(const std::map<std::string, std::string>& record) override {
    if (service) service->txtRecord = record;
  }
  void unpublish() override {
    service.reset();
    listener = nullptr;
  }

  std::optional<Service> service;
  ServicePublicationListener* listener = nullptr;
  int publications = 0;
};

/// Finds nothing by itself; notes what it is asked to resolve.
class FakeServiceBrowser final : public ServiceBrowser {
 public:
  void searchForServices(const std::string& wantedType, const std::string& wantedDomain,
                         ServiceBrowserListener& newListener) override {
    type = wantedType;
    domain = wantedDomain;
    listener = &newListener;
  }
  void resolve(const std::string& name, Seconds limit) override {
    resolving.push_back(name);
    lastLimit = limit;
  }
  void stop() override { listener = nullptr; }

  std::string type;
  std::string domain;
  ServiceBrowserListener* listener = nullptr;
  std::vector<std::string> resolving;
  Seconds lastLimit{};
};

}  // namespace zolvex::test
