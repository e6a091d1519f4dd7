#include "BrindleRecorderLinux/Qt/LoopInQt.hpp"

#include "BrindleRecorderLinux/PipeWire/PipeWireMainLoop.hpp"

namespace brindle {

LoopInQt::LoopInQt(PipeWireMainLoop& mainLoop)
    : notifier_{mainLoop.descriptor(), QSocketNotifier::Read} {
    QObject::connect(
        &notifier_, &QSocketNotifier::activated, &notifier_, [&mainLoop] { mainLoop.iterate(); });
}

} // namespace brindle
