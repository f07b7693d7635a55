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

// One turn of the loop: whatever is ready, else a short sleep so a spin does
// not burn a core.
void iterateOnce() {
    if (!g_main_context_iteration(nullptr, FALSE)) g_usleep(1000);
}

}  // namespace

void markMainThread() { gMainThread = std::this_thread::get_id(); }

bool isMainThread() { return gMainThread.load() == std::this_thread::get_id(); }

void dispatchMainAsync(std::function<void()> work) {
    // An idle source rather than g_main_context_invoke, which would run the
    // work at once when called on the owning thread.
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, runOnce, new std::function<void()>(std::move(work)), destroyWork);
    g_source_attach(source, nullptr);
    g_source_unref(source);
}

void spinMainContextUntil(const std::function<bool()>& done) {
    while (!done()) iterateOnce();
}

bool spinMainContextUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        iterateOnce();
    }
    return true;
}

void CompletionSignal::signal() {
    if (!signalled_.exchange(true, std::memory_order_acq_rel)) semaphore_.release();
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
