// Names for objects whose numbers the system gives again to others.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace brindle {

/// One for each sort of object. Not for use from two threads.
class ObjectNumbers {
  public:
    /// The object's name, never used for another: a number whose object is another than it was
    /// gets a new one. `identity` says which object it is.
    std::uint64_t nameOf(std::uint32_t number, const std::string& identity);
    /// Forgets which objects all others were.
    void keepOnly(const std::set<std::uint32_t>& numbers);

    static std::uint32_t numberOf(std::uint64_t name) { return static_cast<std::uint32_t>(name); }

  private:
    struct Known {
        std::string identity;
        std::uint64_t name = 0;
    };
    std::map<std::uint32_t, Known> known_;
    std::uint64_t reuses_ = 0;
};

} // namespace brindle
