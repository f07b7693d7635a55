#include <zv/foundation/MainThread.h>

#include <glib.h>

#include <thread>

namespace zv {

namespace {

// Static initialisation runs on the thread that starts the process.
std::atomic<std::thread::id> gMainThread{std::this_thread::get_id()};

gboolean runOnce(gpointer data) {
    (*static_cast<std::function<void()>*>(data))();
    return G_SOURCE_REMOVE;
}

void destroyWork(gpointer data) { delete static_cast<std::function<void()>*>(data); }

// While a spin lasts, the loop's poll wakes at least every millisecond:
// `done` may turn true on another thread, which nothing here hears of. Its
// events (a web process's answer) wake the poll at once; a sleep between
// turns kept each of them waiting up to a millisecond more.
class MillisecondWake {
public:
    MillisecondWake() : source_(g_timeout_source_new(1)) {
        g_source_set_callback(source_, +[](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
        g_source_attach(source_, nullptr);
    }
    ~MillisecondWake() {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    MillisecondWake(const MillisecondWake&) = delete;
    MillisecondWake& operator=(const MillisecondWake&) = delete;

private:
    GSource* source_;
};

void iterateOnce() { g_main_context_iteration(nullptr, TRUE); }

}  // namespace

void markMainThread() { gMainThread = std::this_thread::get_id(); }

bool isMainThread() { return gMainThread.load() == std::this_thread::get_id(); }

void dispatchAsync(GMainContext* context, std::function<void()> work) {
    // An idle source rather than g_main_context_invoke, which would run the
    // work at once when called on the owning thread.
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, runOnce, new std::function<void()>(std::move(work)), destroyWork);
    g_source_attach(source, context);
    g_source_unref(source);
}

void dispatchMainAsync(std::function<void()> work) { dispatchAsync(nullptr, std::move(work)); }

void spinMainContextUntil(const std::function<bool()>& done) {
    MillisecondWake wake;
    while (!done()) iterateOnce();
}

bool spinMainContextUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    MillisecondWake wake;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        iterateOnce();
    }
    return true;
}

void CompletionSignal::signal() {
    if (signalled_.exchange(true, std::memory_order_acq_rel)) return;
    semaphore_.release();
    // A main thread spinning for this signal sees it now, not at its next wake.
    g_main_context_wakeup(nullptr);
}

void CompletionSignal::wait() {
    if (isMainThread()) {
        spinMainContextUntil([this] { return isSignalled(); });
        return;
    }
    // Put the token back so that other waiters, and later waits, pass too.
    semaphore_.acquire();
    semaphore_.release();
}

bool CompletionSignal::wait(std::chrono::milliseconds timeout) {
    if (isMainThread()) return spinMainContextUntil([this] { return isSignalled(); }, timeout);
    if (!semaphore_.try_acquire_for(timeout)) return false;
    semaphore_.release();
    return true;
}

}  // namespace zv
