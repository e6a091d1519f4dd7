// A serial queue of work with a name: what is given to it runs one piece after another, in order.
#pragma once

#include <functional>
#include <string_view>

namespace brindle {

class Executor {
  public:
    using Work = std::function<void()>;

    virtual ~Executor() = default;
    /// Adds work to the end of the queue and returns at once. Any thread.
    virtual void async(Work work) = 0;
    /// Adds work to the end of the queue and returns when it has run. Any thread but the queue's
    /// own.
    virtual void sync(Work work) = 0;
    /// The queue's name, as debuggers and crash reports show it.
    [[nodiscard]] virtual std::string_view label() const = 0;
};

} // namespace brindle
