// Keeps the menu true to the application, and carries out what the user picks from it.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Async/CoalescedCall.hpp"
#include "BrindleRecorderApp/Platform/Menu.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderApp/Shell/MenuBuilder.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace brindle {

class AppModel;

/// Main thread only. Whatever the application publishes, the menu is computed anew, once for all
/// that is published in one turn of the main loop.
class MenuContent {
  public:
    /// Both must outlive the content. The menu is there at once.
    MenuContent(AppModel& model, const AppEnvironment& environment);
    MenuContent(const MenuContent&) = delete;
    MenuContent& operator=(const MenuContent&) = delete;

    [[nodiscard]] const Menu& menu() const { return current_.menu; }

    /// Called with every menu that differs from the one before, and after every command even where
    /// it does not: a toolkit may have turned a toggle that the command could not turn.
    std::function<void(const Menu&)> onChange;

    /// Carries out the command of that button or toggle. One that the menu does not have any more
    /// does nothing, and false says so.
    bool activate(const std::string& id);

    /// Looks at what nobody publishes: the login item, the setup, the companion application.
    void menuWillOpen();

  private:
    template <class Field>
    void follow(Field& field);
    [[nodiscard]] bool companionIsInstalled() const;
    [[nodiscard]] CommandedMenu build() const;
    void rebuild();

    AppModel& model_;
    AppEnvironment environment_;
    bool offersCompanion_; ///< looked for only now and then, because it may be a search on the disk
    CommandedMenu current_;
    bool showEvenIfEqual_ = false;
    CoalescedCall rebuilding_;
    std::vector<std::unique_ptr<Observation>> observations_;
};

} // namespace brindle
