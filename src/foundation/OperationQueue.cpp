#include <zv/foundation/OperationQueue.h>

#include <zv/foundation/MainThread.h>

#include <glib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

namespace zv {

namespace detail {

enum class Phase { Pending, Running, Finished };

struct OperationState {
    std::function<void()> work;
    std::function<void(Operation)> signallingWork;
    bool signalling = false;
    std::weak_ptr<OperationQueueState> queue;
    // Guarded by the queue's mutex.
    Phase phase = Phase::Pending;
    // Set while running, so a queue nobody else holds lives until its
    // running operations finish.
    std::shared_ptr<OperationQueueState> keepAlive;
};

struct OperationQueueState : std::enable_shared_from_this<OperationQueueState> {
    std::mutex mutex;
    std::condition_variable allFinished;
    int maxConcurrent = 1;
    bool background = false;
    bool started = false;
    bool completionDone = false;
    std::function<void()> completion;
    std::deque<std::shared_ptr<OperationState>> pending;
    size_t running = 0;
    size_t unfinished = 0;

    void launchWaiting(std::unique_lock<std::mutex>& lock);
    void finish(const std::shared_ptr<OperationState>& operation);
    void runCompletionIfDone(std::unique_lock<std::mutex>& lock);
    static Operation handle(std::shared_ptr<OperationState> operation) { return Operation(std::move(operation)); }
};

}  // namespace detail

namespace {

using detail::OperationQueueState;
using detail::OperationState;
using detail::Phase;

int processorCount() { return int(g_get_num_processors()); }

void runOperation(gpointer data, gpointer) {
    std::shared_ptr<OperationState> operation(std::move(*static_cast<std::shared_ptr<OperationState>*>(data)));
    delete static_cast<std::shared_ptr<OperationState>*>(data);
    std::shared_ptr<OperationQueueState> queue = operation->queue.lock();
    // Moved out so that what the work captured goes when it is done.
    if (operation->signalling) {
        auto work = std::move(operation->signallingWork);
        work(OperationQueueState::handle(operation));
    } else {
        auto work = std::move(operation->work);
        work();
        queue->finish(operation);
    }
}

// A thread's nice value is its own on Linux, and an unprivileged thread
// cannot take back a raised one: background threads stay background.
void runBackgroundOperation(gpointer data, gpointer) {
    thread_local const bool lowered = [] {
        errno = 0;
        int nice = getpriority(PRIO_PROCESS, pid_t(gettid()));
        if (errno == 0) setpriority(PRIO_PROCESS, pid_t(gettid()), std::min(nice + 10, 19));
        return true;
    }();
    (void)lowered;
    runOperation(data, nullptr);
}

// One pool for every queue, never freed; each queue limits its own share.
GThreadPool* workerPool() {
    static GThreadPool* pool = g_thread_pool_new(runOperation, nullptr, -1, FALSE, nullptr);
    return pool;
}

// Exclusive, since GLib hands the idle threads of shared pools from one pool
// to another. A thread per processor: background work is mostly CPU, and
// background queues together wait their turn for these.
GThreadPool* backgroundPool() {
    static GThreadPool* pool =
        g_thread_pool_new(runBackgroundOperation, nullptr, std::max(2, processorCount()), TRUE, nullptr);
    return pool;
}

}  // namespace

void detail::OperationQueueState::launchWaiting(std::unique_lock<std::mutex>& lock) {
    std::vector<std::shared_ptr<OperationState>> launching;
    while (started && running < size_t(maxConcurrent) && !pending.empty()) {
        auto operation = std::move(pending.front());
        pending.pop_front();
        if (operation->phase == Phase::Finished) continue;  // signalled before it could start
        operation->phase = Phase::Running;
        operation->keepAlive = shared_from_this();
        ++running;
        launching.push_back(std::move(operation));
    }
    GThreadPool* pool = background ? backgroundPool() : workerPool();
    lock.unlock();
    for (auto& operation : launching)
        g_thread_pool_push(pool, new std::shared_ptr<OperationState>(std::move(operation)), nullptr);
    lock.lock();
}

void detail::OperationQueueState::runCompletionIfDone(std::unique_lock<std::mutex>& lock) {
    if (!started || unfinished > 0) return;
    allFinished.notify_all();
    if (completionDone) return;
    completionDone = true;
    auto done = std::move(completion);
    lock.unlock();
    if (done) done();
    lock.lock();
}

void detail::OperationQueueState::finish(const std::shared_ptr<OperationState>& operation) {
    // Held until the lock is gone: it may be what keeps this queue alive.
    std::shared_ptr<OperationQueueState> self;
    std::unique_lock lock(mutex);
    if (operation->phase == Phase::Finished) return;
    if (operation->phase == Phase::Running) --running;
    operation->phase = Phase::Finished;
    self = std::move(operation->keepAlive);
    --unfinished;
    launchWaiting(lock);
    runCompletionIfDone(lock);
}

void Operation::signal() const {
    if (!state_ || !state_->signalling) return;
    if (auto queue = state_->queue.lock()) queue->finish(state_);
}

bool Operation::isFinished() const {
    auto queue = state_ ? state_->queue.lock() : nullptr;
    if (!queue) return true;
    std::lock_guard lock(queue->mutex);
    return state_->phase == Phase::Finished;
}

OperationQueue::OperationQueue() : state_(std::make_shared<OperationQueueState>()) {
    state_->maxConcurrent = processorCount();
}

OperationQueue::~OperationQueue() = default;

std::shared_ptr<OperationQueue> OperationQueue::create() { return std::shared_ptr<OperationQueue>(new OperationQueue); }

std::shared_ptr<OperationQueue> OperationQueue::withSetup(const std::function<void(OperationQueue&)>& setup,
                                                          std::function<void()> completion) {
    auto queue = create();
    if (setup) setup(*queue);
    queue->start(std::move(completion));
    return queue;
}

void OperationQueue::setMaxConcurrentOperationCount(int count) {
    std::unique_lock lock(state_->mutex);
    state_->maxConcurrent = count < 1 ? processorCount() : count;
    state_->launchWaiting(lock);
}

void OperationQueue::setBackgroundPriority(bool background) {
    std::lock_guard lock(state_->mutex);
    state_->background = background;
}

int OperationQueue::maxConcurrentOperationCount() const {
    std::lock_guard lock(state_->mutex);
    return state_->maxConcurrent;
}

namespace {

Operation enqueue(const std::shared_ptr<OperationQueueState>& queue, std::shared_ptr<OperationState> operation) {
    operation->queue = queue;
    std::unique_lock lock(queue->mutex);
    ++queue->unfinished;
    queue->pending.push_back(operation);
    queue->launchWaiting(lock);
    return OperationQueueState::handle(std::move(operation));
}

}  // namespace

Operation OperationQueue::addOperation(std::function<void()> work) {
    auto operation = std::make_shared<OperationState>();
    // An empty function still makes an operation that finishes at once.
    operation->work = work ? std::move(work) : [] {};
    return enqueue(state_, std::move(operation));
}

Operation OperationQueue::addSignallingOperation(std::function<void(Operation)> work) {
    auto operation = std::make_shared<OperationState>();
    operation->signalling = true;
    operation->signallingWork = work ? std::move(work) : [](Operation op) { op.signal(); };
    return enqueue(state_, std::move(operation));
}

void OperationQueue::start(std::function<void()> completion) {
    std::unique_lock lock(state_->mutex);
    if (state_->started) return;
    state_->started = true;
    state_->completion = std::move(completion);
    state_->launchWaiting(lock);
    state_->runCompletionIfDone(lock);
}

size_t OperationQueue::operationCount() const {
    std::lock_guard lock(state_->mutex);
    return state_->unfinished;
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
    start();
    if (isMainThread()) {
        spinMainContextUntil([this] { return operationCount() == 0; });
        return;
    }
    std::unique_lock lock(state_->mutex);
    state_->allFinished.wait(lock, [this] { return state_->unfinished == 0; });
}

bool OperationQueue::waitUntilAllOperationsAreFinished(std::chrono::milliseconds timeout) {
    start();
    if (isMainThread()) return spinMainContextUntil([this] { return operationCount() == 0; }, timeout);
    std::unique_lock lock(state_->mutex);
    return state_->allFinished.wait_for(lock, timeout, [this] { return state_->unfinished == 0; });
}

}  // namespace zv
