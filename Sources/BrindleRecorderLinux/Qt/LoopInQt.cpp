#include "BrindleRecorderLinux/Qt/LoopInQt.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

namespace brindle {

LoopInQt::LoopInQt(EventLoop& mainLoop) : notifier_{mainLoop.descriptor(), QSocketNotifier::Read} {
    QObject::connect(
        &notifier_, &QSocketNotifier::activated, &notifier_, [&mainLoop] { mainLoop.iterate(); });
}

} // namespace brindle
