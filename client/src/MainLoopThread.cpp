#include "DefaultContext.h"
#include "KopaClient.h"

namespace kopa {

struct MainLoopThread::Impl {
    std::shared_ptr<detail::LoopThread> thread;
};

MainLoopThread::MainLoopThread()
    : impl_(new Impl{detail::DefaultContext::instance().shareLoopThread()}) {}

MainLoopThread::~MainLoopThread() = default;

ApplicationLoop::ApplicationLoop() {
    detail::DefaultContext::instance().declareApplicationRunner(true);
}

ApplicationLoop::~ApplicationLoop() {
    detail::DefaultContext::instance().declareApplicationRunner(false);
}

}  // namespace kopa
