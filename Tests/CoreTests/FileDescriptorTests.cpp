#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include "Support/TemporaryFolder.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace brindle {
namespace {

std::atomic<int> signalsHandled = 0;

/// A signal that does nothing but interrupt system calls, which are then not restarted.
class InterruptingSignal {
  public:
    InterruptingSignal() {
        struct sigaction action {};
        action.sa_handler = [](int) {
            ++signalsHandled;
        };
        ::sigaction(SIGUSR1, &action, &before_);
        signalsHandled = 0;
    }
    ~InterruptingSignal() { ::sigaction(SIGUSR1, &before_, nullptr); }
    InterruptingSignal(const InterruptingSignal&) = delete;
    InterruptingSignal& operator=(const InterruptingSignal&) = delete;

    /// Interrupts a worker until it has noticed that often, or has finished.
    static void interrupt(std::thread& worker, const std::atomic<bool>& finished, int times) {
        const int target = signalsHandled + times;
        while (signalsHandled < target && !finished) {
            ::pthread_kill(worker.native_handle(), SIGUSR1);
            std::this_thread::yield();
        }
    }

  private:
    struct sigaction before_ {};
};

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        readEnd = FileDescriptor{ends[0]};
        writeEnd = FileDescriptor{ends[1]};
    }
    FileDescriptor readEnd{-1};
    FileDescriptor writeEnd{-1};
};

TEST(FileDescriptor, ClosesWhateverNumberItHas) {
    const int kept = ::dup(STDOUT_FILENO);
    ASSERT_NE(kept, -1);
    { const FileDescriptor descriptor{STDOUT_FILENO}; }
    const bool isOpen = ::fcntl(STDOUT_FILENO, F_GETFD) != -1;
    EXPECT_EQ(::dup2(kept, STDOUT_FILENO), STDOUT_FILENO);
    ::close(kept);
    EXPECT_FALSE(isOpen);
}

TEST(FileDescriptor, ClosesNothingWhereItWasMovedFrom) {
    {
        FileDescriptor from{::dup(STDOUT_FILENO)};
        const FileDescriptor to{std::move(from)};
        errno = 0;
    }
    EXPECT_EQ(errno, 0) << "the system was told to close what is not open";
}

TEST(FileDescriptor, WritesEverythingThroughSignalsAndShortWrites) {
    const InterruptingSignal signal;
    Pipe pipe;
    const std::string sent(1'000'000, 'x'); // far more than a pipe holds: the writer must wait
    Expected<void, std::error_code> written;
    std::atomic<bool> finished = false;
    std::thread writer{[&] {
        written = pipe.writeEnd.writeAll(sent);
        finished = true;
        pipe.writeEnd = FileDescriptor{-1};
    }};
    std::string received;
    for (std::string piece = "first"; !piece.empty();) {
        InterruptingSignal::interrupt(writer, finished, 3);
        piece = pipe.readEnd.readUpTo(50'000).value_or("");
        received += piece;
    }
    writer.join();
    EXPECT_TRUE(written);
    EXPECT_EQ(received, sent);
}

TEST(FileDescriptor, ReadsToTheEndThroughSignals) {
    const InterruptingSignal signal;
    Pipe pipe;
    Expected<std::string, std::error_code> received;
    std::atomic<bool> finished = false;
    std::thread reader{[&] {
        received = pipe.readEnd.readUpTo(1'000);
        finished = true;
    }};
    InterruptingSignal::interrupt(reader, finished, 20);
    EXPECT_TRUE(pipe.writeEnd.writeAll("first "));
    InterruptingSignal::interrupt(reader, finished, 20);
    EXPECT_TRUE(pipe.writeEnd.writeAll("second"));
    pipe.writeEnd = FileDescriptor{-1};
    reader.join();
    EXPECT_EQ(received, "first second");
}

TEST(FileDescriptor, ReadsNoMoreThanAsked) {
    Pipe pipe;
    ASSERT_TRUE(pipe.writeEnd.writeAll("1234567890"));
    EXPECT_EQ(pipe.readEnd.readUpTo(4), "1234");
    EXPECT_EQ(pipe.readEnd.readUpTo(0), "");
    EXPECT_EQ(pipe.readEnd.readUpTo(6), "567890");
}

TEST(FileDescriptor, ReportsFailures) {
    Pipe pipe;
    EXPECT_EQ(pipe.readEnd.writeAll("x").error(), std::errc::bad_file_descriptor);
    EXPECT_EQ(pipe.writeEnd.readUpTo(1).error(), std::errc::bad_file_descriptor);
    EXPECT_EQ(pipe.readEnd.sync().error(), std::errc::invalid_argument);
    EXPECT_EQ(
        FileDescriptor::open("/missing/file", O_RDONLY).error(),
        std::errc::no_such_file_or_directory);
}

TEST(FileDescriptor, IsNotInheritedByOtherPrograms) {
    const test::TemporaryFolder folder;
    const auto file = FileDescriptor::open(folder.path() / "file", O_CREAT | O_WRONLY, 0600);
    ASSERT_TRUE(file);
    EXPECT_TRUE(::fcntl(file->number(), F_GETFD) & FD_CLOEXEC);
}

TEST(FileDescriptor, ClosesOnceHoweverOftenItIsMoved) {
    Pipe pipe;
    const int number = pipe.writeEnd.number();
    {
        FileDescriptor first{std::move(pipe.writeEnd)};
        const FileDescriptor second{std::move(first)};
        EXPECT_NE(::fcntl(number, F_GETFD), -1);
    }
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
}

} // namespace
} // namespace brindle
