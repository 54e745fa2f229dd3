#include "peer/bonjour/NetworkThread.h"

#include <pthread.h>

namespace zolvex {

NetworkThread::NetworkThread()
    : context_(1),
      keepRunning_(context_.get_executor()),
      publisherQueue_(context_.get_executor()),
      connectionQueue_(context_.get_executor()),
      thread_([this] {
        pthread_setname_np(pthread_self(), "zolvex-network");
        context_.run();
      }) {}

NetworkThread::~NetworkThread() {
  stop();
}

void NetworkThread::stop() {
  context_.stop();
  if (thread_.joinable()) thread_.join();
}

}  // namespace zolvex
