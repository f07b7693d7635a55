// The main thread and its run loop.
//
// GLib's default main context is the main run loop: GTK and WebKit deliver
// their signals there, and work that touches them is sent there with
// dispatchMainAsync. The main thread is the thread that started the process
// (recorded as the library initialises), unless the host names another with
// markMainThread() before anything else runs.
//
// Waiting for a result that arrives through the main loop is done two ways:
// on the main thread the loop is spun (blocking in its poll, until done);
// on any other thread the waiter blocks on a
// semaphore while the main thread runs its loop. CompletionSignal does the
// right one for the calling thread.
#pragma once

#include <zv/Export.h>

#include <glib.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <semaphore>

namespace zv {

// Records the calling thread as the main thread.
ZV_EXPORT void markMainThread();
ZV_EXPORT bool isMainThread();

// Runs `work` later on the default main context, never before returning,
// even when called on the main thread. Safe from any thread; an exception
// escaping `work` ends the process.
ZV_EXPORT void dispatchMainAsync(std::function<void()> work);
// The same on `context` (the default one for null), for a thread that runs a
// main loop of its own.
ZV_EXPORT void dispatchAsync(GMainContext* context, std::function<void()> work);

// Spins the default main context until `done` answers true; `done` is asked
// before each iteration. Between iterations it blocks in the loop's poll, so
// an event (a web process's answer) is handled as it arrives; it wakes at
// least every millisecond, for a `done` that another thread makes true. The
// bounded form gives up after `timeout` and answers whether `done` became
// true. Call only on the main thread.
ZV_EXPORT void spinMainContextUntil(const std::function<bool()>& done);
ZV_EXPORT bool spinMainContextUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

// One event to wait for: a completion calls signal() (from any thread, once
// or more), a waiter calls wait(). Share it through a shared_ptr when the
// signalling side may outlive a bounded wait.
class ZV_EXPORT CompletionSignal {
public:
    void signal();
    bool isSignalled() const { return signalled_.load(std::memory_order_acquire); }

    // On the main thread spins the main context, elsewhere blocks, until
    // signalled. The bounded form answers whether it was signalled in time.
    void wait();
    bool wait(std::chrono::milliseconds timeout);

private:
    std::atomic<bool> signalled_{false};
    std::binary_semaphore semaphore_{0};
};

}  // namespace zv
