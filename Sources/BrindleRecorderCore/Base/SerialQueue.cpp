#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include <future>
#include <memory>
#include <pthread.h>
#include <utility>

namespace brindle {

namespace {

// Some systems let a thread name any other, some only itself.
[[maybe_unused]] void callNaming(int (*setName)(pthread_t, const char*), const char* name) {
    setName(pthread_self(), name);
}
[[maybe_unused]] void callNaming(int (*setName)(const char*), const char* name) {
    setName(name);
}

void nameCurrentThread(const std::string& label) {
    // Linux keeps 15 characters; the end of a reverse-domain label tells more than its start.
    constexpr std::size_t longest = 15;
    const std::string name = label.size() <= longest ? label : label.substr(label.size() - longest);
    callNaming(pthread_setname_np, name.c_str());
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
