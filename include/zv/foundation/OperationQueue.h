// A queue that runs operations on worker threads, at most N at a time, and
// reports once when all of them have finished.
//
// An operation is plain (finished when its function returns) or signalling
// (finished only when something calls signal() on it, typically the
// completion of an asynchronous fetch the function started). A signalling
// operation holds its place among the N running ones until it is signalled,
// so N bounds the work in flight, not just the threads busy.
//
//     auto queue = OperationQueue::withSetup(
//         [&](OperationQueue& q) {
//             q.setMaxConcurrentOperationCount(3);
//             for (auto& url : urls)
//                 q.addSignallingOperation([url](Operation op) { fetch(url, [op](...) { ...; op.signal(); }); });
//         },
//         [] { dispatchMainAsync(...); });
//
// A queue holds its operations until start(); then it runs them in the order
// they were added, and any added later as soon as there is room. The
// completion runs once, on the thread that finished the last operation (on
// the starting thread if there was none), the first time a started queue has
// no unfinished operation. The queue keeps itself alive while operations are
// unfinished: callers need not hold on to it. All members are thread-safe.
#pragma once

#include <zv/Export.h>

#include <chrono>
#include <functional>
#include <memory>

namespace zv {

namespace detail {
struct OperationState;
struct OperationQueueState;
}  // namespace detail

// A handle to one operation; copies name the same operation.
class ZV_EXPORT Operation {
public:
    // Names no operation: signal() does nothing, isFinished() is true.
    Operation() = default;

    // Finishes a signalling operation; later calls, and calls on a plain
    // operation, do nothing.
    void signal() const;
    bool isFinished() const;

private:
    friend class OperationQueue;
    friend struct detail::OperationQueueState;
    explicit Operation(std::shared_ptr<detail::OperationState> state) : state_(std::move(state)) {}
    std::shared_ptr<detail::OperationState> state_;
};

class ZV_EXPORT OperationQueue {
public:
    // Unlimited concurrency is not offered: the default is the number of
    // processors.
    static constexpr int kDefaultMaxConcurrentOperationCount = -1;

    static std::shared_ptr<OperationQueue> create();
    // create(), then `setup` (which sets the limit and adds the operations),
    // then start(completion).
    static std::shared_ptr<OperationQueue> withSetup(const std::function<void(OperationQueue&)>& setup,
                                                     std::function<void()> completion);
    ~OperationQueue();
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;

    // At least 1; kDefaultMaxConcurrentOperationCount (or any value below 1)
    // means the number of processors. Raising it starts waiting operations.
    void setMaxConcurrentOperationCount(int count);
    int maxConcurrentOperationCount() const;

    // A background queue runs its operations on threads of their own (one
    // per processor, at least two, shared by all background queues), at a lower CPU
    // priority than the process (nice 10 above it), so work nobody waits on
    // (a mailbox's headers, previews) leaves the cores to the main thread
    // when it has something to draw. Operations launched after the call
    // follow it. Since those threads are few, a background operation must not
    // wait for another background operation.
    void setBackgroundPriority(bool background);

    Operation addOperation(std::function<void()> work);
    Operation addSignallingOperation(std::function<void(Operation)> work);

    // Lets the operations run; `completion` (may be empty) is kept for when
    // all have finished. Only the first call counts.
    void start(std::function<void()> completion = {});

    // Operations added and not yet finished.
    size_t operationCount() const;

    // Starts the queue if needed and waits until no operation is unfinished;
    // on the main thread the main context is spun meanwhile, so operations
    // may finish through it. The bounded form answers whether they did.
    void waitUntilAllOperationsAreFinished();
    bool waitUntilAllOperationsAreFinished(std::chrono::milliseconds timeout);

private:
    OperationQueue();
    std::shared_ptr<detail::OperationQueueState> state_;
};

}  // namespace zv
