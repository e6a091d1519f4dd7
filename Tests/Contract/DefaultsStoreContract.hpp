// What every store of preferences promises.
#pragma once

#include "BrindleRecorderApp/Platform/DefaultsStore.hpp"
#include "Contract/Contract.hpp"

namespace brindle::test {

/// A store that is empty at first.
class DefaultsStoreSubject : public Subject {
  public:
    [[nodiscard]] virtual DefaultsStore& store() = 0;
    /// The program is launched again: whatever is not kept by now is lost.
    virtual void startAgain() = 0;
    /// Somebody else leaves a list under that key whose elements are a text and a number.
    virtual void putMixedList(const std::string& key) = 0;

    /// Whatever the program does with preferences it does at once.
    [[nodiscard]] bool becomes(const std::function<bool()>& condition) override {
        return condition();
    }
};

using DefaultsStoreContract = Contract<DefaultsStoreSubject>;

} // namespace brindle::test
