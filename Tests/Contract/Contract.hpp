// What the seam's interfaces promise, as tests that are written once and run against whatever keeps
// the promise.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace brindle::test {

/// Something that is tried, with all that a test must be able to do to its surroundings. Each
/// interface of the seam has a kind of its own, and each implementation a class of that kind.
class Subject {
  public:
    virtual ~Subject() = default;

    /// Why nothing can be tried here; empty where it can.
    [[nodiscard]] virtual std::string whatIsMissing() const { return {}; }
    /// Lets the main loop turn until it is so; false when it is not so in a long time.
    [[nodiscard]] virtual bool becomes(const std::function<bool()>& condition) = 0;
};

/// One way to make a subject.
template <class Kind>
struct Implementation {
    std::string name;
    std::function<std::unique_ptr<Kind>()> make;

    friend void PrintTo(const Implementation& implementation, std::ostream* out) {
        *out << implementation.name;
    }
};

/// Each test has a subject of its own. A program that holds a contract to nothing fails.
template <class Kind>
class Contract : public testing::TestWithParam<Implementation<Kind>> {
  public:
    /// For `INSTANTIATE_TEST_SUITE_P`.
    template <class Made>
    static auto heldBy(const char* name) {
        return testing::Values(Implementation<Kind>{name, [] {
                                                        return std::make_unique<Made>();
                                                    }});
    }

  protected:
    void SetUp() override {
        if (const auto missing = subject_->whatIsMissing(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
    }

    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return subject_->becomes(condition);
    }

    const std::unique_ptr<Kind> subject_ = Contract::GetParam().make();
};

} // namespace brindle::test
