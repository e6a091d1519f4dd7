// What the queue's thread is called, as debuggers and crash reports show it.
#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include <array>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>

namespace brindle {
namespace {

std::string threadNameOf(const std::string& label) {
    SerialQueue queue{label};
    std::array<char, 64> name{};
    queue.sync([&name] { pthread_getname_np(pthread_self(), name.data(), name.size()); });
    return name.data();
}

TEST(SerialQueue, NamesItsThreadWithItsLabel) {
    EXPECT_EQ(threadNameOf("short"), "short");
    EXPECT_EQ(threadNameOf("exactly-fifteen"), "exactly-fifteen");
}

TEST(SerialQueue, NamesItsThreadWithTheEndOfALabelThatIsTooLong) {
    EXPECT_EQ(threadNameOf("sixteen-letters."), "ixteen-letters.");
    EXPECT_EQ(threadNameOf("com.example.program.diagnostic-log"), ".diagnostic-log");
}

} // namespace
} // namespace brindle
