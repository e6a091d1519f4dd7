// Owners of PipeWire's objects: each gives its object back when it goes.
#pragma once

#include "BrindleRecorderLinux/Loop/Releaser.hpp"
#include "BrindleRecorderLinux/PipeWire/Calls.hpp"

#include <pipewire/pipewire.h>
#include <spa/utils/hook.h>

#include <memory>

namespace brindle::pipewire {

/// Keeps the library initialised while it lives; any number may live at once.
class Library {
  public:
    Library() { pw_init(nullptr, nullptr); }
    ~Library() { pw_deinit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

using LoopHandle = std::unique_ptr<pw_loop, Releaser<pw_loop_destroy>>;
using ContextHandle = std::unique_ptr<pw_context, Releaser<pw_context_destroy>>;
using CoreHandle = std::unique_ptr<pw_core, Releaser<pw_core_disconnect>>;
using PropertiesHandle = std::unique_ptr<pw_properties, Releaser<pw_properties_free>>;
using ProxyHandle = std::unique_ptr<pw_proxy, Releaser<pw_proxy_destroy>>;

struct SourceDestroyer {
    pw_loop* loop = nullptr;
    void operator()(spa_source* source) const { destroySource(loop, source); }
};
/// A source of events on a loop; made as `SourceHandle{source, {loop}}`.
using SourceHandle = std::unique_ptr<spa_source, SourceDestroyer>;

/// A registered listener. Declared after the object that it listens to, so that it goes first.
class Hook {
  public:
    Hook() = default;
    ~Hook() {
        if (hook_.link.next != nullptr) {
            spa_hook_remove(&hook_);
        }
    }
    Hook(const Hook&) = delete;
    Hook& operator=(const Hook&) = delete;
    [[nodiscard]] spa_hook* get() { return &hook_; }

  private:
    spa_hook hook_{};
};

} // namespace brindle::pipewire
