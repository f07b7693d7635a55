#include "MailboxLoader.h"

#include "MailboxSource.h"

#include <zv/foundation/MainThread.h>
#include <zv/foundation/OperationQueue.h>

#include <algorithm>

namespace zvwk::viewer {

namespace {

constexpr size_t kFirstBatch = 64;
constexpr size_t kBatch = 512;

}  // namespace

std::shared_ptr<MailboxLoader> MailboxLoader::start(std::vector<std::string> operands, Callbacks callbacks) {
    std::shared_ptr<MailboxLoader> loader(new MailboxLoader);
    loader->callbacks_ = std::move(callbacks);
    loader->queue_ = zv::OperationQueue::create();
    loader->queue_->setMaxConcurrentOperationCount(2);
    loader->backgroundQueue_ = zv::OperationQueue::create();
    loader->backgroundQueue_->setMaxConcurrentOperationCount(2);
    loader->backgroundQueue_->setBackgroundPriority(true);
    loader->backgroundQueue_->start();
    std::weak_ptr<MailboxLoader> weak = loader;
    loader->queue_->addOperation([weak, operands = std::move(operands)]() mutable {
        if (auto self = weak.lock()) self->list(std::move(operands));
    });
    loader->queue_->start();
    return loader;
}

void MailboxLoader::cancel() {
    cancelled_ = true;
    callbacks_ = {};
}

// On a worker thread: lists the messages and queues their header reads.
void MailboxLoader::list(std::vector<std::string> operands) {
    auto listing = std::make_shared<MailboxListing>(listMailbox(operands));
    std::weak_ptr<MailboxLoader> weak = weak_from_this();
    size_t total = listing->messages.size();
    zv::dispatchMainAsync([weak, total, errors = listing->errors] {
        auto self = weak.lock();
        if (!self || self->cancelled_) return;
        self->total_ = total;
        if (self->callbacks_.listed) self->callbacks_.listed(total, errors);
        if (total == 0 && self->callbacks_.finished) self->callbacks_.finished();
    });
    for (size_t first = 0; first < total;) {
        size_t count = std::min(first == 0 ? kFirstBatch : kBatch, total - first);
        // The first screen's rows are awaited; the rest is not.
        zv::OperationQueue& queue = first == 0 ? *queue_ : *backgroundQueue_;
        queue.addOperation([weak, listing, first, count] {
            std::vector<MessageSummary> batch;
            batch.reserve(count);
            for (size_t i = first; i < first + count; ++i) {
                if (auto self = weak.lock(); !self || self->cancelled_) return;
                batch.push_back(readMessageSummary(listing->messages[i]));
            }
            zv::dispatchMainAsync([weak, first, batch = std::move(batch)]() mutable {
                if (auto self = weak.lock()) self->deliver(first, std::move(batch));
            });
        });
        first += count;
    }
}

void MailboxLoader::deliver(size_t first, std::vector<MessageSummary> batch) {
    if (cancelled_) return;
    early_.emplace(first, std::move(batch));
    while (!early_.empty() && early_.begin()->first == nextToDeliver_) {
        auto node = early_.extract(early_.begin());
        nextToDeliver_ += node.mapped().size();
        if (callbacks_.batch) callbacks_.batch(node.key(), std::move(node.mapped()));
        if (cancelled_) return;
    }
    if (nextToDeliver_ == total_ && callbacks_.finished) callbacks_.finished();
}

}  // namespace zvwk::viewer
