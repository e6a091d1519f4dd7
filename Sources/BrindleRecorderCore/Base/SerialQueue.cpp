#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include <future>
#include <memory>
#include <utility>

#ifdef __linux__
#include <pthread.h>
#endif

namespace brindle {

namespace {

void nameCurrentThread(const std::string& label) {
#ifdef __linux__
    // The kernel keeps 15 characters; the end of a reverse-domain label tells more than its start.
    constexpr std::size_t longest = 15;
    const std::string name = label.size() <= longest ? label : label.substr(label.size() - longest);
    pthread_setname_np(pthread_self(), name.c_str());
#else
    static_cast<void>(label);
#endif
}

} // namespace

SerialQueue::SerialQueue(std::string label)
    : label_{std::move(label)}, worker_{[this] {
          runUntilClosed();
      }} {}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard lock{mutex_};
        closing_ = true;
    }
    workAdded_.notify_one();
    worker_.join();
}

void SerialQueue::async(Work work) {
    {
        const std::lock_guard lock{mutex_};
        pending_.push_back(std::move(work));
    }
    workAdded_.notify_one();
}

void SerialQueue::sync(Work work) {
    const auto finished = std::make_shared<std::promise<void>>();
    async([&work, finished] {
        work();
        finished->set_value();
    });
    finished->get_future().wait();
}

void SerialQueue::runUntilClosed() {
    nameCurrentThread(label_);
    for (;;) {
        Work work;
        {
            std::unique_lock lock{mutex_};
            workAdded_.wait(lock, [this] { return closing_ || !pending_.empty(); });
            if (pending_.empty()) {
                return;
            }
            work = std::move(pending_.front());
            pending_.pop_front();
        }
        work();
    }
}

} // namespace brindle
