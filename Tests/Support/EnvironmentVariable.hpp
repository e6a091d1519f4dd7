// An environment variable that a test sets and that is as it was afterwards.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace brindle::test {

class EnvironmentVariable {
  public:
    /// No value removes the variable.
    EnvironmentVariable(std::string name, const std::optional<std::string>& value)
        : name_{std::move(name)} {
        if (const char* before = std::getenv(name_.c_str())) {
            before_ = before;
        }
        set(value);
    }
    ~EnvironmentVariable() { set(before_); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

  private:
    void set(const std::optional<std::string>& value) {
        if (value) {
            ::setenv(name_.c_str(), value->c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

    std::string name_;
    std::optional<std::string> before_;
};

} // namespace brindle::test
