#include "PreviewScheduler.h"

#include <glib.h>
#include <zv/foundation/OperationQueue.h>

namespace zvwk::viewer {

std::shared_ptr<PreviewScheduler> PreviewScheduler::create(Compute compute, Deliver deliver, int threads) {
    std::shared_ptr<PreviewScheduler> scheduler(new PreviewScheduler);
    scheduler->compute_ = std::move(compute);
    scheduler->deliver_ = std::move(deliver);
    scheduler->queue_ = zv::OperationQueue::create();
    scheduler->queue_->setMaxConcurrentOperationCount(threads);
    scheduler->queue_->setBackgroundPriority(true);
    scheduler->queue_->start();
    return scheduler;
}

void PreviewScheduler::addOperation() {
    std::weak_ptr<PreviewScheduler> weak = weak_from_this();
    queue_->addOperation([weak] {
        if (auto self = weak.lock()) self->runNext();
    });
}

void PreviewScheduler::enqueue(size_t item) {
    {
        std::lock_guard lock(mutex_);
        if (item >= states_.size()) states_.resize(item + 1, State::Unknown);
        if (states_[item] != State::Unknown) return;
        states_[item] = State::Queued;
        pending_.push_back(item);
        ++queued_;
    }
    addOperation();
}

void PreviewScheduler::prioritize(size_t item) {
    bool isNew = false;
    {
        std::lock_guard lock(mutex_);
        if (item >= states_.size()) states_.resize(item + 1, State::Unknown);
        if (states_[item] == State::Running || states_[item] == State::Done) return;
        isNew = states_[item] == State::Unknown;
        if (isNew) ++queued_;
        states_[item] = State::Queued;
        // The copy further back is skipped when its turn comes.
        pending_.push_front(item);
    }
    if (isNew) addOperation();
}

void PreviewScheduler::runNext() {
    size_t item = 0;
    {
        std::lock_guard lock(mutex_);
        while (!pending_.empty() && states_[pending_.front()] != State::Queued) pending_.pop_front();
        if (cancelled_ || pending_.empty()) return;
        item = pending_.front();
        pending_.pop_front();
        states_[item] = State::Running;
    }
    std::string preview = compute_(item);
    bool firstReady = false;
    {
        std::lock_guard lock(mutex_);
        states_[item] = State::Done;
        ++done_;
        firstReady = ready_.empty();
        ready_.emplace_back(item, std::move(preview));
    }
    if (!firstReady) return;
    auto* weak = new std::weak_ptr<PreviewScheduler>(weak_from_this());
    g_idle_add_full(
        G_PRIORITY_DEFAULT_IDLE,
        [](gpointer data) -> gboolean {
            if (auto self = static_cast<std::weak_ptr<PreviewScheduler>*>(data)->lock()) self->deliverReady();
            return G_SOURCE_REMOVE;
        },
        weak, [](gpointer data) { delete static_cast<std::weak_ptr<PreviewScheduler>*>(data); });
}

void PreviewScheduler::deliverReady() {
    std::vector<std::pair<size_t, std::string>> ready;
    {
        std::lock_guard lock(mutex_);
        if (cancelled_) return;
        ready.swap(ready_);
    }
    for (auto& [item, preview] : ready) deliver_(item, std::move(preview));
}

void PreviewScheduler::cancel() {
    std::lock_guard lock(mutex_);
    cancelled_ = true;
    pending_.clear();
}

size_t PreviewScheduler::doneCount() const {
    std::lock_guard lock(mutex_);
    return done_;
}

size_t PreviewScheduler::queuedCount() const {
    std::lock_guard lock(mutex_);
    return queued_;
}

}  // namespace zvwk::viewer
