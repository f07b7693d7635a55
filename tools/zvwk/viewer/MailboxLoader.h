// Reads a mailbox off the main thread: lists its messages, then reads their
// headers in batches (all but the first on a background operation queue, so
// the window draws first) and hands each batch to the main thread, in
// mailbox order. The first batch is small, so the first screen of
// rows comes quickly; later ones are larger, so the main thread is woken
// rarely.
#pragma once

#include "MailMessage.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zv {
class OperationQueue;
}

namespace zvwk::viewer {

class MailboxLoader : public std::enable_shared_from_this<MailboxLoader> {
public:
    struct Callbacks {
        // All on the main thread. `listed` first, with the number of messages
        // and the operands that could not be read; then every batch in order;
        // then `finished`.
        std::function<void(size_t total, const std::vector<std::string>& errors)> listed;
        std::function<void(size_t first, std::vector<MessageSummary> batch)> batch;
        std::function<void()> finished;
    };

    static std::shared_ptr<MailboxLoader> start(std::vector<std::string> operands, Callbacks callbacks);
    // No callback runs after this.
    void cancel();

private:
    MailboxLoader() = default;
    void list(std::vector<std::string> operands);
    void deliver(size_t first, std::vector<MessageSummary> batch);

    Callbacks callbacks_;
    std::shared_ptr<zv::OperationQueue> queue_;
    std::shared_ptr<zv::OperationQueue> backgroundQueue_;
    // Main thread only: batches that arrived before the ones ahead of them.
    std::map<size_t, std::vector<MessageSummary>> early_;
    size_t nextToDeliver_ = 0;
    size_t total_ = 0;
    bool cancelled_ = false;
};

}  // namespace zvwk::viewer
