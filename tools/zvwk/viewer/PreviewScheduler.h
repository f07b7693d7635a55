// Preview lines computed on a background operation queue, in the order the user sees
// rows: a row coming on screen moves its message to the front, and the rest
// wait at the back. Each queued operation takes whatever is at the front
// when it gets to run, so a late request overtakes the backlog.
//
// Results reach the main thread in batches, at idle priority: thousands of
// previews finishing must not keep the window from drawing.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zv {
class OperationQueue;
}

namespace zvwk::viewer {

class PreviewScheduler : public std::enable_shared_from_this<PreviewScheduler> {
public:
    // `compute` runs on a worker thread; `deliver` on the main thread.
    using Compute = std::function<std::string(size_t item)>;
    using Deliver = std::function<void(size_t item, std::string preview)>;

    static std::shared_ptr<PreviewScheduler> create(Compute compute, Deliver deliver, int threads = 2);

    void enqueue(size_t item);     // at the back, once
    void prioritize(size_t item);  // at the front, unless already done or running
    // No delivery happens after this.
    void cancel();

    size_t doneCount() const;
    size_t queuedCount() const;  // enqueued so far, done or not

private:
    PreviewScheduler() = default;
    enum class State : unsigned char { Unknown, Queued, Running, Done };
    void runNext();
    void addOperation();
    void deliverReady();

    Compute compute_;
    Deliver deliver_;
    std::shared_ptr<zv::OperationQueue> queue_;
    mutable std::mutex mutex_;
    std::deque<size_t> pending_;
    std::vector<State> states_;
    std::vector<std::pair<size_t, std::string>> ready_;
    size_t done_ = 0;
    size_t queued_ = 0;
    bool cancelled_ = false;
};

}  // namespace zvwk::viewer
